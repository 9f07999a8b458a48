"""The table of connections, made of the blocks that the driver sends."""
import unittest

from harness import BIN_IOCTL, Run, Streaming, bin_request, hex_dump, ioctl, order, received

# At 25 s the short-lived connection is closed, so it never shows up.
TABLE = """\
 id prot local                  remote                hostname          l7-prot    rx vol      tx vol  rx cps  tx cps     time    rtt program             class        data
101 tcp  192.0.2.10:49731       198.51.100.7:443      shop.example.com        7   5505500      127050  182000    4200       30 20.245 browser.exe         interactive  page load
102 tcp  [2001:db8:1::10]:49802 [2001:db8:2::25]:993  mail.example.org       12  10701362     1143938    3624     388  1:01:30  46.14 mail.exe            normal       idle
103 udp  192.0.2.10:61022       203.0.113.53:53       ns1.example.net         3     12705        5445     208      88     1:30 10.408 svchost.exe         interactive  query
104 udp  [2001:db8:1::10]:50124 [2001:db8:3::77]:3478 voice.example.net      21   9433463     9199575   12100   11800    12:59 39.161 voice.exe           real-time    call 17
105 tcp  192.0.2.10:49944       198.51.100.23:8443    münchen.example         7    180592      140295    1056     824     2:30 32.108 Größenübersicht.exe normal       Überweisung 50 €
106 tcp  [::1]:51200            [::1]:80              localhost               7  23481250     3179000  568752   77000       37  0.045 музыка.exe          normal
107 udp  192.0.2.10:61544       203.0.113.200:27015                          33  57505000    17251500   34876   10464    30:55 29.693 game.exe            real-time
108 tcp  192.0.2.10:50011       198.51.100.90:22      files.example.com       2 264469500 17631300000   31500 2100000  2:02:27 14.511 backup.exe          bulk*        backup 3 of 7
109 tcp  192.0.2.10:50377       203.0.113.5:443       café-5€.example         7   2632000       84000   47000    1500       56  76.66 browser.exe         interactive*
110 tcp  [2001:db8:1::10]:49688 [2001:db8:4::d]:5222  chat.example.org       15    104857       20544       0       0 52:00:25 38.002 mail.exe            normal       idle
112 udp  [2001:db8:1::10]:55012 [2001:db8:5::91]:443  files.example.com       9 791106250     8980125 1850000   21000     7:07 15.004 λόγος.exe           normal*
"""


def rows(out):
    """The words of each row, keyed by id."""
    return {line.split()[0]: line.split() for line in out.decode("cp437").splitlines() if line.split()[0].isdigit()}


class Once(unittest.TestCase):
    def view(self, arguments=" -bincons"):
        run = Run(arguments)
        self.assertEqual((run.code, run.err), (0, b""))
        return run.out

    def test_table(self):
        # As a file gets it: through the ANSI code page to the OEM code page.
        ansi = TABLE.encode("cp1252", "replace").decode("cp1252")
        table = ansi.encode("cp437", "replace").replace(b"\n", b"\r\n")
        order("clock 25000")
        _, _, block = ioctl(BIN_IOCTL, bin_request(5, 0), 0x40000)
        for arguments, out in ((" -bincons", table), (" -hex -bincons", hex_dump(block) + table)):
            # A second may pass while the program reads.
            self.assertIn(out, [self.view(arguments) for _ in range(3)])
        order("blocks partial", "pending 30")
        self.assertLess(set(rows(self.view())), set(rows(table)))

    def test_numbers_of_connections(self):
        order("connections 0")
        self.assertEqual(self.view(), b"")
        order("connections 100000", "log clear")
        self.assertEqual(self.view().count(b"\r\n"), 100001)
        self.assertEqual([r.out_size for r in received() if r.code == BIN_IOCTL], [0x40000 << i for i in range(7)])

    def test_broken_blocks(self):
        order("clock 2000")
        for kind in ("magic", "version", "records", "narrow", "wide", "length", "end"):  # refused as a whole
            order(f"order bin block {kind}")
            self.assertEqual(self.view(), b"", kind)
        order("order bin block index")  # all five texts are empty; the class differs from the other one in nothing
        self.assertEqual({len(cells) for cells in rows(self.view()).values()}, {11})
        order("order bin block scale")
        self.assertTrue(all(" 0 0 " in " ".join(cells) for cells in rows(self.view()).values()))
        # Half a block in a buffer of zeros still makes sense to a reader.
        order("order bin block short")
        self.assertEqual(len(rows(self.view())), 7)


class ForEver(unittest.TestCase):
    """With -ever, one table a second of all connections known so far."""

    def test_from_block_to_block(self):
        order("clock 20000", "blocks complete")
        with Streaming(" -bincons -ever") as run:
            def until(reached):
                # An order reaches the program's next request, or the one after it.
                for _ in range(4):
                    if reached(found := rows(run.out_until(b"data\r\n"))):
                        return found
                self.fail(f"not reached: {found}")

            first = until(len)["1000000"]
            self.assertNotEqual(first[8:10], ["0", "0"])
            # The block says that it is closed: final volumes, no rates.
            order("clock 26000")
            closed = until(lambda t: t["1000000"][8:10] == ["0", "0"])["1000000"]
            self.assertGreater(int(closed[6]), int(first[6]))
            # The block doesn't name it any more; the next life of its kind comes beside it.
            order("clock 31000")
            self.assertEqual(until(lambda t: "1000001" in t)["1000000"][6:10], closed[6:10])
            # A request that fails, and a block that is refused, leave the table as it was.
            order("order bin error 50")
            self.assertEqual(run.err_line(), b"ioctl_bin_command(0x8000202c) returned error 50, ret=0\r\n")
            self.assertIn(b"error 50\r\n", run.out_until(b"error 50\r\n"))
            order("order bin block magic", "connections 3")
            run.out_until(b"data\r\n")
            self.assertNotEqual(until(len)["108"][8:10], ["0", "0"])
            # Those that a complete block doesn't name stay without rates.
            order("order bin none")
            fewer = until(lambda t: t["108"][8:10] == ["0", "0"])
            self.assertEqual((len(fewer), fewer["101"][8:10] != ["0", "0"]), (13, True))
        self.assertEqual({r.input for r in received() if r.code == BIN_IOCTL}, {bin_request(5, 1)})
