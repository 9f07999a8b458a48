"""Which words of the raw command line are options, and what the driver receives of the rest."""
import unittest

from harness import BIN_IOCTL, TEXT_IOCTL, Run, bin_request, received

# (raw command line behind the program's name, the text that the driver receives)
TEXTS = [
    ("", ""),
    ("  ", ""),
    (" status", "status"),
    (" echo  a   b ", "echo  a   b "),
    (" echo\ta\t", "echo\ta\t"),
    (' echo "a  b" \'c\' \\"d\\', 'echo "a  b" \'c\' \\"d\\'),
    (" echo %? 100% ^& <>|", "echo %? 100% ^& <>|"),
    (" echo \xe4\u20ac\u4e2d\ud83d\ude00 \ud800", "echo \xe4\u20ac\u4e2d\ud83d\ude00 \ud800"),
    (" echo " + "long " * 2000, "echo " + "long " * 2000),
    (" -hex echo a", "echo a"),
    (" \x0b-hex\x0c\r\n -time\techo a", "echo a"),
    (" -hex -time -hex", ""),
    (" -hex  ", ""),
    (" -HEX echo a", "-HEX echo a"),
    (" -hex -Time echo a", "-Time echo a"),
    (" echo -hex a", "echo -hex a"),
    (' "-hex" echo a', '"-hex" echo a'),
    (" -hex\u00a0echo a", "-hex\u00a0echo a"),
    (" -hexx echo", "-hexx echo"),
    (" -he", "-he"),
    (" -BINCONS", "-BINCONS"),
    (" -bin-nop", "-bin-nop"),
    (" -bin_pcons", "-bin_pcons"),
    (" -hex echo -binnop", "echo -binnop"),
    # Options of the program itself are words of the text command too.
    (" -game_analyzer echo a", "-game_analyzer echo a"),
    (" -dllpath \" x \" echo", "-dllpath \" x \" echo"),
    (" echo -DLLPATH", "echo -DLLPATH"),
]

# (the program's token and what stands around it, the text that the driver receives of " echo a" behind it)
PROGRAMS = [
    ("vfl.exe", "echo a"),
    ('"C:\\some folder\\vfl.exe"', "echo a"),
    ('C:\\some" "folder\\"vfl.exe"', "echo a"),
    ('"a\\" b', "b echo a"),
    ('""vfl', "echo a"),
    (" vfl.exe", "vfl.exe echo a"),
    ("\tvfl.exe", "vfl.exe echo a"),
    ("vfl.exe\x0b", "echo a"),
]

# (raw command line, number of the binary command)
BINARY = [(" " + word, 5) for word in ("-bincons", "-bin-cons", "-bin_cons")] + \
         [(" " + word, 3) for word in ("-binpnop", "-bin_pnop", "-binnop", "-bin_nop")] + [
    (" -hex -binnop", 3),
    ("  -time \t -bin_nop  ", 3),
    (" -binnop -bincons", 5),
    (" -bincons -binnop -hex", 5),
    (" -ever -binnop", 3),
    (" -binnop and more words", 3),
    (" -bincons -HEX -ever", 5),
]


class CommandLine(unittest.TestCase):
    def check_text(self, run, text):
        self.assertEqual(run.code, 0)
        requests = received()
        self.assertEqual([r.code for r in requests], [TEXT_IOCTL])
        self.assertEqual(requests[0].input, text.encode("utf-16-le", "surrogatepass"))
        self.assertEqual(requests[0].out_size, 0x200000)

    def test_text_commands(self):
        for arguments, text in TEXTS:
            with self.subTest(arguments=arguments[:40]):
                self.check_text(Run(arguments), text)

    def test_program_name(self):
        for program, text in PROGRAMS:
            with self.subTest(program=program):
                self.check_text(Run(" echo a", program=program), text)

    def test_binary_commands(self):
        for arguments, command in BINARY:
            with self.subTest(arguments=arguments):
                run = Run(arguments)
                self.assertEqual((run.code, run.err), (0, b""))
                requests = received()
                self.assertEqual([(r.code, r.input) for r in requests],
                                 [(BIN_IOCTL, bin_request(command, 0 if command == 5 else None))])
                self.assertEqual(requests[0].out_size, 0x40000 if command == 5 else 4096)
