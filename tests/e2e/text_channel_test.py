"""The text channel over time: a large reply, and repetition through errors."""
import unittest

from harness import Run, Streaming, order, received, sc


class TextChannel(unittest.TestCase):
    def test_large_reply(self):
        run = Run(" fill 2097152")  # the whole buffer
        self.assertEqual((run.out.replace(b"\r", b""), run.code), (((b"0123456789" * 7)[:63] + b"\n") * 0x4000, 0))

    def test_repeats_for_ever(self):
        """Errors don't end the repetition, not even of a device that goes away, and a reader sees each reply at once."""
        order("order text error 31")
        with Streaming(" -ever echo again;") as run:
            self.assertIn(b"string_ioctl_command(echo again;) returned error 31, ", run.err_line())
            self.assertEqual(run.err_line(), b"Port not found.\r\n")
            self.assertEqual(run.out(18), b"again;" * 3)
            self.assertEqual({r.text for r in received()[-3:]}, {"echo again;"})
            self.assertEqual(sc("stop", "vexaflow"), 0)
            try:
                for _ in range(3):
                    self.assertIn(b"string_ioctl_command(echo again;) returned error ", run.err_line())
                    self.assertTrue(run.err_line())
                for arguments in (" echo a", " -bincons -ever", " -hex -binnop", ""):
                    run_again = Run(arguments)
                    self.assertEqual((run_again.out, run_again.err, run_again.code),
                                     (b"", b"Unable to open device 'VEXAFLOW$D'.\r\n", 1))
            finally:
                run.stop()
                self.assertEqual(sc("start", "vexaflow"), 0)
