"""The text channel: replies, dumps, error texts, requests that fail, wait or claim too much."""
import unittest

from harness import Run, Streaming, hex_dump, order, received, sc, tell


def failure(command, error, returned=0):
    shown = command if len(command) <= 23 else command[:20] + "..."
    return f"string_ioctl_command({shown}) returned error {error}, ret={returned}, maxsz=1048576\r\n".encode()


LAST_LINES = {31: b"Port not found.\r\n", 50: b"Device does not support commands.\r\n"}


def last_line(error):
    return LAST_LINES.get(error, f"I/O Control error {error}\r\n".encode())


class TextChannel(unittest.TestCase):
    def check(self, arguments, out, err=b"", code=0):
        run = Run(arguments)
        self.assertEqual((run.out, run.err, run.code), (out, err, code), arguments)

    def test_replies(self):
        rows = [
            (" echo abc", b"abc"),  # nothing is added
            (" echo a\u00e4\u00f6\u00fc\u00df \u20ac \u4e2d.", b"a\x84\x94\x81\xe1 ? ?."),  # the OEM code page
            (" cut", b"before"),
            (" empty", b""),
            (" fill 2", b"0"),
            (" fill 3", b"0"),  # half a character more
            (" fill 1", b""),
            (" fill 256", ("0123456789" * 7)[:63].encode() + b"\r\n" + ("0123456789" * 7)[:63].encode() + b"\r\n"),
        ]
        order("clock 5000")
        rows.append((" status", tell("status").replace("\n", "\r\n").encode()))
        for mode in ("off", "20"):
            order(f"pending {mode}")
            for arguments, out in rows:
                with self.subTest(arguments=arguments, pending=mode):
                    if arguments == " status":
                        out = out.replace(b"pending off", f"pending {mode}".encode())
                    self.check(arguments, out)
        self.assertEqual({r.pending for r in received()[-len(rows):]}, {True})

    def test_large_reply(self):
        """The whole buffer of 2 MiB, and one byte more, which is refused and not tried again."""
        run = Run(" fill 2097152")
        self.assertEqual((run.code, len(run.out)), (0, 0x100000 + 0x100000 // 64))
        received()
        self.check(" fill 2097153", b"", failure("fill 2097153", 122) + last_line(122), 1)
        self.assertEqual([r.out_size for r in received()], [0x200000])

    def test_dumps(self):
        rows = [(" -hex echo " + text, text.encode("utf-16-le"))
                for text in ("a", "ab\u20ac", "12345678", "123456789", "sixteen bytes, \u00e4nd a third line")]
        rows += [(" -hex cut", "before".encode("utf-16-le")), (" -hex empty", b"")]
        for arguments, data in rows:
            with self.subTest(arguments=arguments):
                self.check(arguments, hex_dump(data))

    def test_errors(self):
        for mode in ("off", "30"):
            order(f"pending {mode}")
            for error in (1, 5, 31, 50, 87, 122, 995, 1117):
                with self.subTest(error=error, pending=mode):
                    command = f"error {error}"
                    self.check(" " + command, b"", failure(command, error) + last_line(error), 1)
        # A failed request that was pending reports what the driver counted; the reply is dropped all the same.
        self.check(" -hex claim 31 77", b"", failure("claim 31 77", 31, 77) + last_line(31), 1)

    def test_command_in_message(self):
        for length in (22, 23, 24, 200):
            command = ("error 31 " + "1234567890" * 20)[:length]
            with self.subTest(length=length):
                self.check(" " + command, b"", failure(command, 31) + last_line(31), 1)
        # 23 and 20 UTF-16 units.
        wide = "error 31 " + "\u00fc" * 14
        run = Run(" " + wide)
        self.assertEqual(run.err, failure("error 31 ", 31)[:30] + b"\x81" * 14 + failure("error 31 ", 31)[30:] +
                         last_line(31))

    def test_repeats_for_ever(self):
        """Errors don't end the repetition, and a pipe's reader sees each at once."""
        order("order text error 31")
        with Streaming(" -ever echo again;") as run:
            self.assertEqual(run.err(len(failure("echo again;", 31) + last_line(31))),
                             failure("echo again;", 31) + last_line(31))
            self.assertEqual(run.out(33), b"echo again;"[5:] * 5 + b"aga")
        self.assertEqual({r.text for r in received()[-3:]}, {"echo again;"})

    def test_device_missing(self):
        self.assertEqual(sc("stop", "vexaflow"), 0)
        try:
            for arguments in (" echo a", " -bincons -ever", " -hex -binnop", ""):
                with self.subTest(arguments=arguments):
                    self.check(arguments, b"", b"Unable to open device 'VEXAFLOW$D'.\r\n", 1)
        finally:
            self.assertEqual(sc("start", "vexaflow"), 0)

    def test_device_that_goes_away(self):
        with Streaming(" -ever echo x") as run:
            self.assertEqual(run.out(4), b"xxxx")
            self.assertEqual(sc("stop", "vexaflow"), 0)
            try:
                # What the error is depends on the moment; the client goes on either way.
                for _ in range(3):
                    self.assertIn(b"string_ioctl_command(echo x) returned error ", run.err_line())
                    self.assertTrue(run.err_line())
            finally:
                run.stop()
                self.assertEqual(sc("start", "vexaflow"), 0)
