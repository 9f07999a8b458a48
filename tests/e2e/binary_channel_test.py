"""The binary channel as the driver saw it: buffer growth, errors, counts that are too high."""
import unittest

from harness import BIN_IOCTL, Run, hex_dump, ioctl, bin_request, order, received


def failure(error, returned=0):
    return f"ioctl_bin_command(0x8000202c) returned error {error}, ret={returned}\r\n".encode()


class BinaryChannel(unittest.TestCase):
    def check(self, arguments, out, err=b"", code=0):
        run = Run(arguments)
        self.assertEqual((run.out, run.err, run.code), (out, err, code), arguments)

    def test_no_operation(self):
        order("clock 12345")
        _, _, reply = ioctl(BIN_IOCTL, bin_request(3), 4096)
        self.assertEqual(len(reply), 24)
        for mode in ("off", "25"):
            order(f"pending {mode}")
            self.check(" -binnop", b"")
            self.check(" -hex -binnop", hex_dump(reply))
        order("order bin empty")
        self.check(" -hex -binnop", b"")
        order("order bin fill 1")
        self.check(" -hex -binnop", b"30\r\n")

    def test_growth(self):
        rows = [
            (" -binnop", "order bin below 262144", [4096 << i for i in range(7)], 0),
            (" -binnop", "order bin below 4097", [4096, 8192], 0),
            (" -bincons", "order bin below 2097152", [0x40000, 0x80000, 0x100000, 0x200000], 0),
            (" -bincons", "order bin fill 262144", [0x40000], 0),
            # The ceiling: a buffer of 256 MiB isn't doubled any more.
            (" -bincons", "order bin error 122", [0x40000 << i for i in range(11)], 1),
        ]
        for arguments, command, sizes, code in rows:
            with self.subTest(command=command):
                order(command, "log clear")
                run = Run(arguments)
                self.assertEqual((run.code, run.err), (code, failure(122) if code else b""))
                self.assertEqual([r.out_size for r in received() if r.code == BIN_IOCTL], sizes)
        self.assertEqual(run.out, b"error 122\r\n")

    def test_growth_while_pending(self):
        order("pending 5", "order bin below 32768", "log clear")
        self.check(" -binnop", b"")
        self.assertEqual([(r.out_size, r.pending) for r in received()],
                         [(s, True) for s in (4096, 8192, 16384, 32768)])

    def test_errors(self):
        for mode in ("off", "20"):
            order(f"pending {mode}")
            for error in (31, 50, 87):
                with self.subTest(error=error, pending=mode):
                    order(f"order bin error {error}")
                    self.check(" -hex -binnop", b"", failure(error), 1)
                    self.check(" -hex -bincons", f"error {error}\r\n".encode(), failure(error), 1)

    def test_count_of_a_failed_request(self):
        """It is dumped as it is, but never more than the buffer holds."""
        order("order bin claim 31 20")
        self.check(" -hex -binnop", hex_dump(bytes(20)), failure(31, 20), 1)
        order("order bin claim 31 5000000")
        self.check(" -hex -binnop", hex_dump(bytes(4096)), failure(31, 5000000), 1)
        run = Run(" -hex -bincons")
        self.assertEqual((run.code, run.err), (1, failure(31, 5000000)))
        self.assertEqual(run.out, hex_dump(bytes(0x40000)) + b"error 31\r\n")
