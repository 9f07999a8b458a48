"""What -time tells: where the line stands, its form, and when there is none."""
import re
import unittest

from harness import BIN_IOCTL, Run, Streaming, bin_request, hex_dump, ioctl, order, received

# Seconds with as many of the nine places as it takes.
LINE = re.compile(rb"time: (\d+(?:\.\d{0,8}[1-9])?) sec\r\n")


class Timing(unittest.TestCase):
    def taken(self, arguments, rest, delay=0.0):
        """A run that ends well: one line in front, then exactly the rest. Returns the seconds."""
        run = Run(arguments)
        self.assertEqual((run.err, run.code), (b"", 0))
        line = LINE.match(run.out)
        self.assertIsNotNone(line, run.out[:100])
        self.assertEqual(run.out[line.end():], rest)
        seconds = float(line[1])
        self.assertGreaterEqual(seconds, delay)
        self.assertLess(seconds, 60)
        self.assertGreater(seconds, 0)
        return seconds

    def test_in_front_of_the_reply(self):
        self.taken(" -time echo a b", b"a b")
        self.taken(" -time -hex echo a b", hex_dump("a b".encode("utf-16-le")))
        self.taken(" -hex -time echo a b", hex_dump("a b".encode("utf-16-le")))
        self.taken(" -time empty", b"")
        self.taken(" -time -binnop", b"")
        _, _, reply = ioctl(BIN_IOCTL, bin_request(5, 0), 0x2000000)
        run = Run(" -bincons")
        self.assertGreater(len(reply), 0)
        timed = Run(" -bincons -time")
        line = LINE.match(timed.out)
        self.assertIsNotNone(line, timed.out[:100])
        # The header of the table is next, and no further line of this kind.
        self.assertEqual(timed.out[line.end():].split(b"\r\n")[0].split(), run.out.split(b"\r\n")[0].split())
        self.assertEqual(len(LINE.findall(timed.out)), 1)

    def test_covers_the_wait_for_the_driver(self):
        order("pending 150")
        for arguments, rest in ((" -time echo x", b"x"), (" -time -binnop", b"")):
            # The driver's delay is counted in steps of its own clock.
            self.taken(arguments, rest, 0.13)

    def test_none_of_a_failure(self):
        for mode in ("off", "20"):
            order(f"pending {mode}", "order bin error 31")
            for arguments in (" -time error 31", " -time -binnop", " -time -hex -binnop", " -time -bincons"):
                with self.subTest(arguments=arguments, pending=mode):
                    run = Run(arguments)
                    self.assertEqual(run.code, 1)
                    self.assertNotIn(b"time:", run.out + run.err)

    def test_none_unless_asked_for(self):
        for arguments in (" echo -time", " -TIME", " \"-time\""):
            with self.subTest(arguments=arguments):
                self.assertNotIn(b"time:", Run(arguments).out)

    def test_the_last_try_alone(self):
        """Each try but the last fails, and tells nothing; all of them wait."""
        order("pending 100", "order bin below 32768", "log clear")
        self.taken(" -time -binnop", b"", 0.08)
        self.assertEqual([r.out_size for r in received()], [4096, 8192, 16384, 32768])

    def test_one_in_each_pass(self):
        with Streaming(" -time -ever echo xyz;") as run:
            for _ in range(5):
                self.assertRegex(run.out_until(b"xyz;"), rb"\A" + LINE.pattern + rb"xyz;\Z")
        # A pass that fails has none, and those behind it have theirs again.
        order("order text error 31")
        with Streaming(" -ever -time echo xyz;") as run:
            self.assertIn(b"returned error 31,", run.err_line())
            self.assertRegex(run.out_until(b"xyz;"), rb"\A" + LINE.pattern + rb"xyz;\Z")
        with Streaming(" -bincons -time -ever") as run:
            for _ in range(3):
                # The table's header stands behind the line, in every pass.
                passed = run.out_until(b"data\r\n")
                self.assertEqual(len(LINE.findall(passed)), 1)
                self.assertRegex(passed, LINE.pattern + rb"[^\r\n]*data\r\n\Z")
