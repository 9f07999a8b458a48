"""A real console: what stands on the screen of a pseudo-terminal."""
import fcntl
import os
import pty
import struct
import subprocess
import termios
import unittest

from harness import BUILD, SCRATCH, VFL, WINE, Streaming, hexed, order, windows_path
from connection_view_test import TABLE


def in_terminal(command, columns=240, lines=60, stdin=None, after=b"", keys=b""):
    """Runs a command in a terminal of its own, with keys typed once it shows `after`: (exit code, what it showed)."""
    master, slave = pty.openpty()
    fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", lines, columns, 0, 0))
    process = subprocess.Popen(command, stdin=stdin or slave, stdout=slave, stderr=slave, start_new_session=True,
                               preexec_fn=lambda: fcntl.ioctl(1, termios.TIOCSCTTY, 0))
    os.close(slave)
    shown = b""
    try:
        while data := os.read(master, 65536):
            shown += data
            if keys and after in shown:
                os.write(master, keys)
                keys = b""
    except OSError:  # the other side is closed
        pass
    os.close(master)
    return process.wait(30), shown


def on_screen(arguments, out="-"):
    """Runs vfl.exe in a terminal: exit code and the lines on the screen."""
    file = SCRATCH / "screen.txt"
    file.unlink(missing_ok=True)
    words = [windows_path(VFL), '"vfl.exe"' + arguments]
    code, _ = in_terminal([WINE, str(BUILD / "tests/launch.exe"), "--screen",
                           *(hexed(w.encode("utf-16-le")) for w in words),
                           out if out == "-" else hexed(windows_path(out).encode("utf-16-le")),
                           hexed(windows_path(file).encode("utf-16-le"))])
    return code, file.read_text("utf-8").rstrip("\n").split("\n")


class Console(unittest.TestCase):
    def test_table(self):
        order("clock 25000")
        # A second may pass while the program reads.
        self.assertIn((0, TABLE.splitlines()), [on_screen(" -bincons") for _ in range(3)])

    def test_text_and_errors(self):
        self.assertEqual(on_screen(" echo \u00e4\u20ac\u4e2d"), (0, ["\u00e4\u20ac\u4e2d"]))
        message = ["string_ioctl_command(error 50) returned error 50, ret=0, maxsz=1048576",
                   "Device does not support commands."]
        self.assertEqual(on_screen(" error 50"), (1, message))
        # With the output in a file, errors still go to the console, and only they.
        out = SCRATCH / "console_out.bin"
        self.assertEqual(on_screen(" error 50", out), (1, message))
        self.assertEqual(out.read_bytes(), b"")
        self.assertEqual(on_screen(" echo \u00e4", out), (0, [""]))
        self.assertEqual(out.read_bytes(), b"\x84")

    def test_each_stream_by_itself(self):
        for redirection, shown in (("> NUL", True), ("2> NUL", False)):
            with self.subTest(redirection):
                code, screen = in_terminal([WINE, "cmd", "/c", f"{windows_path(VFL)} error 50 {redirection}"])
                self.assertEqual((code, b"Device does not support commands." in screen), (1, shown))

    def test_a_reader_that_goes_is_the_end(self):
        for arguments, stream in (("-ever echo x", "stdout"), ("-ever -bincons", "stdout"), ("-ever error 50", "stderr")):
            with self.subTest(arguments), Streaming(arguments) as run:
                pipe = getattr(run.process, stream)
                pipe.read(3)
                pipe.close()
                self.assertEqual(run.process.wait(60), 0)
