"""The stand-in driver's own answers, where the product never asks for them."""
import unittest

from harness import BIN_IOCTL, TEXT_IOCTL, bin_request, ioctl, order, received, tell


class Device(unittest.TestCase):
    def test_bad_binary_requests(self):
        good = bin_request(3)
        for request, error in ((good[:15], 24), (b"", 24), (bin_request(5), 24), (b"\0" + good[1:], 87),
                               (good[:4] + b"\2" + good[5:], 1306), (good[:8] + bytes(4) + good[12:], 87),
                               (bin_request(4), 1)):
            self.assertEqual(ioctl(BIN_IOCTL, request, 4096), (error, 0, b""), request)
        self.assertEqual(ioctl(BIN_IOCTL, good, 23)[0], 122)
        self.assertEqual(ioctl(0x80002030, good, 4096)[0], 1)
        self.assertEqual(ioctl(TEXT_IOCTL, b"abc", 4096)[0], 1784)

    def test_cancellation_and_log(self):
        for setting, command in (("pending off", "never"), ("pending 60000", "status")):
            order(setting)
            self.assertEqual(ioctl(TEXT_IOCTL, command.encode("utf-16-le"), 4096, order="cancel"), (995, 0, b""))
            ioctl(TEXT_IOCTL, "pending off".encode("utf-16-le"), 4096, order="cancel")  # takes effect all the same
        for i in range(70):
            tell(f"echo {i}")
        self.assertEqual(tell("last"), "echo 69")
        self.assertEqual([r.text for r in received()], [f"echo {i}" for i in range(6, 70)])

    def test_answers_to_mistakes(self):
        for command in ("connections 100001", "connections -1", "blocks some", "clock", "pending soon", "order tape none",
                        "order bin", "order bin block", "order text block magic", "order bin claim 234 1", "error 77",
                        "claim 31", "nonsense", "log x"):
            reply = tell(command)
            self.assertTrue(reply.endswith("\n") and reply != "ok\n" and len(reply) > 10, reply)
