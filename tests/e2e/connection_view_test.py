"""The table of connections, against the blocks that the driver sends."""
import unittest

from harness import BIN_IOCTL, Run, Streaming, bin_request, hex_dump, ioctl, order, received
import snapshot

BROKEN = ["magic", "version", "records", "narrow", "wide", "length", "end"]  # rejected as a whole


def block(argument=0):
    error, _, data = ioctl(BIN_IOCTL, bin_request(5, argument), 0x2000000)
    assert error == 0
    return data


def redirected(text):
    """As a file gets it: through the ANSI code page to the OEM code page, with CR LF."""
    ansi = text.encode("cp1252", "replace").decode("cp1252")
    return ansi.encode("cp437", "replace").replace(b"\n", b"\r\n")


def tables(data, head=b""):
    """What may be printed of a block: a second may pass while the program reads it."""
    return [head + redirected(snapshot.table(data, later)) for later in (0, 1)]


def rows(out):
    """Cells by header of each row in one table's bytes, keyed by id."""
    lines = out.decode("cp437").splitlines()
    return {line.split()[0]: line.split() for line in lines if line.split()[0].isdigit()}


class Once(unittest.TestCase):
    def view(self, arguments=" -bincons"):
        run = Run(arguments)
        self.assertEqual((run.code, run.err), (0, b""))
        return run.out

    def test_table(self):
        # 25 s: the short-lived connection is closed, so it never shows up; 100000000: long times.
        for clock in ("1000", "25000", "100000000"):
            for mode in ("off", "30"):
                with self.subTest(clock=clock, pending=mode):
                    order(f"clock {clock}", f"pending {mode}")
                    out = self.view()
                    self.assertIn(out, tables(block()))
                    self.assertEqual(len(rows(out)), 11 if clock == "25000" else 12)
        self.assertIn(b"m\x81nchen.example", out)
        self.assertIn(b"caf\x82-5?.example", out)
        self.assertIn(b"[::1]:80 ", out)

    def test_dump_and_table(self):
        order("clock 3000")
        data = block()
        self.assertIn(self.view(" -hex -bincons"), tables(data, hex_dump(data)))

    def test_numbers_of_connections(self):
        order("clock 7000", "connections 0")
        self.assertEqual(self.view(), b"")
        for count in (1, 12, 13, 3000):
            order(f"connections {count}")
            self.assertIn(self.view(), tables(block()))
        received()
        order("connections 100000")
        out = self.view()
        self.assertEqual(out.count(b"\r\n"), 100001)
        self.assertEqual([r.out_size for r in received() if r.code == BIN_IOCTL],
                         [0x40000 << i for i in range(7)])

    def test_partial_block(self):
        order("clock 2000", "blocks partial")
        self.assertIn(self.view(), tables(block()))

    def test_broken_blocks(self):
        order("clock 2000")
        for kind in BROKEN:
            with self.subTest(kind=kind):
                order(f"order bin block {kind}")
                self.assertEqual(self.view(), b"")
        order("order bin block index")
        for cells in rows(self.view()).values():
            # All five texts are empty; the class differs from the other one in nothing.
            self.assertEqual(len(cells), 11, cells)
        order("order bin block scale")
        for cells in rows(self.view()).values():
            self.assertIn(" 0 0 ", " ".join(cells))
        order("order bin block line-rate")
        self.assertIn(self.view(), tables(block()))
        # Half a block in a buffer of zeros still makes sense to a reader; it only has to stand it.
        order("order bin block short")
        self.assertEqual(len(rows(self.view())), 7)


class ForEver(unittest.TestCase):
    """With -ever, one table a second; each test stops the program when it has seen enough."""

    def table(self, run):
        """The rest of the table whose header is read already, and the next header."""
        return rows(run.out_until(b"data\r\n"))

    def until(self, run, reached):
        """The first table that fits; an order reaches the program's next request, or the one after it."""
        for _ in range(4):
            found = self.table(run)
            if reached(found):
                return found
        self.fail(f"not reached: {found}")

    def test_moves(self):
        with Streaming(" -bincons -ever") as run:
            run.out_until(b"data\r\n")
            seen = [self.table(run) for _ in range(3)]
        volumes = [int(t["101"][6]) for t in seen]
        # A partial block may leave the connection out.
        self.assertEqual(volumes, sorted(volumes))
        self.assertGreater(volumes[2], volumes[0])
        self.assertGreater(len({tuple(row[8] for row in t.values()) for t in seen}), 1)
        self.assertLessEqual(set(seen[0]), set(seen[1]))
        self.assertLessEqual(set(seen[1]), set(seen[2]))
        requests = [r for r in received() if r.code == BIN_IOCTL]
        self.assertEqual({r.input for r in requests}, {bin_request(5, 1)})
        # The first block is complete, those behind it aren't.
        self.assertGreater(requests[0].returned, requests[1].returned)

    def test_closed_connections(self):
        order("clock 20000", "blocks complete")
        with Streaming(" -bincons -ever") as run:
            run.out_until(b"data\r\n")
            first = self.table(run)["1000000"]
            self.assertNotEqual(first[8:10], ["0", "0"])
            # The block says that it is closed: final volumes, no rates.
            order("clock 26000")
            closed = self.until(run, lambda t: t["1000000"][8:10] == ["0", "0"])["1000000"]
            self.assertGreater(int(closed[6]), int(first[6]))
            # The block doesn't name it any more; the next life of its kind comes beside it.
            order("clock 31000")
            after = self.until(run, lambda t: "1000001" in t)
            self.assertEqual(after["1000000"][6:10], closed[6:10])
            # Fewer connections: those that a complete block doesn't name stay without rates.
            order("connections 3")
            fewer = self.until(run, lambda t: t["108"][8:10] == ["0", "0"])
            self.assertEqual(len(fewer), 13)
            self.assertNotEqual(fewer["101"][8:10], ["0", "0"])

    def test_errors_in_between(self):
        order("clock 20000")
        with Streaming(" -bincons -ever") as run:
            before = self.table(run)
            order("order bin error 50")
            self.assertEqual(run.err_line(), b"ioctl_bin_command(0x8000202c) returned error 50, ret=0\r\n")
            self.assertIn(b"error 50\r\n", run.out_until(b"error 50\r\n"))
            order("order bin block magic")
            run.out_until(b"data\r\n")
            # A rejected block leaves the map as it was.
            kept = self.table(run)
            self.assertEqual(len(kept), 12)
            order("order bin none", "clock 21000")
            self.until(run, lambda t: t["101"][6] > kept["101"][6])
        self.assertEqual(before, {})
