"""What -time reports: where the line stands, its form, and when there is none."""
import re
import unittest

from harness import Run, Streaming, hex_dump, order, received

# Seconds with as many of the nine places as it takes.
LINE = re.compile(rb"time: (\d+(?:\.\d{0,8}[1-9])?) sec\r\n")


class Timing(unittest.TestCase):
    def test_before_the_reply(self):
        dump = hex_dump("a b".encode("utf-16-le"))
        table = Run(" -bincons").out.split(b"\r\n")[0].split()
        for arguments, rest in ((" -time echo a b", b"a b"), (" -hex -time echo a b", dump), (" -time -binnop", b""),
                                (" -time -bincons", table), (" -time error 31", None), (" echo -time", None)):
            for pending, least in (("off", 0), ("150", 0.13)):  # the driver's delay has steps of its own clock
                order(f"pending {pending}")
                run = Run(arguments)
                self.assertEqual(len(LINE.findall(run.out + run.err)), 0 if rest is None else 1, arguments)
                if line := LINE.match(run.out):
                    self.assertTrue(least < float(line[1]) < 300)
                    out = run.out[line.end():]
                    self.assertEqual(out.split(b"\r\n")[0].split() if rest is table else out, rest)

    def test_the_last_try_of_each_pass(self):
        """Each try but the last fails, and reports nothing; all of them wait."""
        order("pending 100", "order bin below 32768", "log clear")
        run = Run(" -time -binnop")
        self.assertTrue(LINE.fullmatch(run.out), run.out)
        self.assertEqual([(r.out_size, r.pending) for r in received()], [(4096 << i, True) for i in range(4)])
        with Streaming(" -bincons -time -ever") as run:
            for _ in range(3):
                # The table's header stands below the line, in every pass.
                self.assertRegex(run.out_until(b"data\r\n"), LINE.pattern + rb"[^\r\n]*data\r\n\Z")
