"""The text channel: replies, dumps, error texts, requests that fail, wait or claim too much."""
import unittest

from harness import Run, Streaming, hex_dump, order, received, sc, tell

LAST_LINES = {31: "Port not found.", 50: "Device does not support commands."}


def failure(command, error, returned=0):
    shown = command if len(command) <= 23 else command[:20] + "..."
    return (f"string_ioctl_command({shown}) returned error {error}, ret={returned}, maxsz=1048576\r\n" +
            LAST_LINES.get(error, f"I/O Control error {error}") + "\r\n").encode("cp437")


class TextChannel(unittest.TestCase):
    def check(self, arguments, out, err=b"", code=0):
        run = Run(arguments)
        self.assertEqual((run.out, run.err, run.code), (out, err, code), arguments)

    def test_replies(self):
        digits = ("0123456789" * 7)[:63].encode() + b"\r\n"
        texts = ("a", "ab\u20ac", "12345678", "123456789", "sixteen bytes, \u00e4nd a third line")
        rows = [
            (" echo abc", b"abc"),  # nothing is added
            (" echo a\u00e4\u00f6\u00fc\u00df \u20ac \u4e2d.", b"a\x84\x94\x81\xe1 ? ?."),  # the OEM code page
            (" cut", b"before"), (" empty", b""), (" fill 1", b""), (" fill 2", b"0"), (" fill 3", b"0"),
            (" fill 256", digits * 2), (" fill 2097152", digits * (0x100000 // 64)),  # the whole buffer
            (" -hex cut", hex_dump("before".encode("utf-16-le"))), (" -hex empty", b""),
        ] + [(" -hex echo " + text, hex_dump(text.encode("utf-16-le"))) for text in texts]
        for mode in ("off", "20"):
            order(f"pending {mode}")
            for arguments, out in rows:
                self.check(arguments, out)
        self.assertEqual({r.pending for r in received()[-len(rows):]}, {True})

    def test_errors(self):
        # A status may have no number of its own: a failure all the same. One byte more than the buffer isn't asked for
        # again. Messages show commands of 23 units whole.
        rows = [(f"error {error}", error) for error in (1, 5, 31, 50, 87, 995, 1117)]
        rows += [("error 0x80070000", 0), ("fill 2097153", 122), ("error 31 " + "\u00fc" * 14, 31)]
        rows += [(("error 31 " + "1234567890" * 20)[:length], 31) for length in (23, 24, 200)]
        for mode in ("off", "30"):
            order(f"pending {mode}")
            for command, error in rows:
                self.check(" " + command, b"", failure(command, error), 1)
        # A failed request that was pending reports what the driver counted; the reply is dropped all the same.
        self.check(" -hex claim 31 77", b"", failure("claim 31 77", 31, 77), 1)

    def test_repeats_for_ever(self):
        """Errors don't end the repetition, not even of a device that goes away, and a reader sees each reply at once."""
        order("order text error 31")
        with Streaming(" -ever echo again;") as run:
            self.assertEqual(run.err(len(failure("echo again;", 31))), failure("echo again;", 31))
            self.assertEqual(run.out(18), b"again;" * 3)
            self.assertEqual({r.text for r in received()[-3:]}, {"echo again;"})
            self.assertEqual(sc("stop", "vexaflow"), 0)
            try:
                for _ in range(3):
                    self.assertIn(b"string_ioctl_command(echo again;) returned error ", run.err_line())
                    self.assertTrue(run.err_line())
                for arguments in (" echo a", " -bincons -ever", " -hex -binnop", ""):
                    self.check(arguments, b"", b"Unable to open device 'VEXAFLOW$D'.\r\n", 1)
            finally:
                run.stop()
                self.assertEqual(sc("start", "vexaflow"), 0)
