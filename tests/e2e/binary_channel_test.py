"""The binary channel as the driver saw it: buffer growth, errors, counts that are too high."""
import unittest

from harness import BIN_IOCTL, Run, bin_request, hex_dump, ioctl, order, received


def failure(error, returned=0):
    return f"ioctl_bin_command(0x8000202c) returned error {error}, ret={returned}\r\n".encode()


class BinaryChannel(unittest.TestCase):
    def check(self, arguments, out, err=b"", code=0):
        run = Run(arguments)
        self.assertEqual((run.out, run.err, run.code), (out, err, code), arguments)

    def test_replies(self):
        order("clock 12345")
        _, _, reply = ioctl(BIN_IOCTL, bin_request(3), 4096)
        self.assertEqual(len(reply), 24)
        for command, arguments, out in (("none", " -binnop", b""), ("none", " -hex -binnop", hex_dump(reply)),
                                        ("empty", " -hex -binnop", b""), ("fill 1", " -hex -binnop", b"30\r\n")):
            for mode in ("off", "25"):
                order(f"pending {mode}", f"order bin {command}")
                self.check(arguments, out)

    def test_growth(self):
        rows = [
            (" -binnop", "below 262144", [4096 << i for i in range(7)], 0),
            (" -binnop", "below 4097", [4096, 8192], 0),
            (" -bincons", "below 2097152", [0x40000, 0x80000, 0x100000, 0x200000], 0),
            (" -bincons", "fill 262144", [0x40000], 0),
            # The ceiling: a buffer of 256 MiB isn't doubled any more.
            (" -bincons", "error 122", [0x40000 << i for i in range(11)], 1),
        ]
        for arguments, command, sizes, code in rows:
            order("order bin " + command, "log clear")
            run = Run(arguments)
            self.assertEqual((run.code, run.err), (code, failure(122) if code else b""))
            self.assertEqual([r.out_size for r in received() if r.code == BIN_IOCTL], sizes)
        self.assertEqual(run.out, b"error 122\r\n")

    def test_errors(self):
        for mode in ("off", "20"):
            for command, error in (("31", 31), ("50", 50), ("87", 87), ("0x80070000", 0)):
                order(f"pending {mode}", f"order bin error {command}")
                self.check(" -hex -binnop", b"", failure(error), 1)
                self.check(" -hex -bincons", f"error {error}\r\n".encode(), failure(error), 1)
        # The count of a failed request is dumped as it is, but never more than the buffer holds.
        for claim, arguments, out in ((20, " -hex -binnop", hex_dump(bytes(20))),
                                      (5000000, " -hex -binnop", hex_dump(bytes(4096))),
                                      (5000000, " -hex -bincons", hex_dump(bytes(0x40000)) + b"error 31\r\n")):
            order(f"order bin claim 31 {claim}")
            self.check(arguments, out, failure(31, claim), 1)
