"""A real console: what stands on the screen of a pseudo-terminal."""
import fcntl
import os
import pty
import struct
import subprocess
import termios
import unittest

from harness import BIN_IOCTL, BUILD, SCRATCH, VFL, WINE, bin_request, hexed, ioctl, order, windows_path
import snapshot


def in_terminal(command, columns=240, lines=60):
    """Runs a command in a terminal of its own: (exit code, everything that the terminal got)."""
    master, slave = pty.openpty()
    fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", lines, columns, 0, 0))
    process = subprocess.Popen(command, stdin=slave, stdout=slave, stderr=slave, start_new_session=True,
                               preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))
    os.close(slave)
    shown = b""
    try:
        while data := os.read(master, 65536):
            shown += data
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
        order("clock 4000")
        block = ioctl(BIN_IOCTL, bin_request(5, 0), 0x40000)[2]
        code, lines = on_screen(" -bincons")
        self.assertEqual(code, 0)
        self.assertIn(lines, [snapshot.table(block, later).splitlines() for later in (0, 1)])
        text = "\n".join(lines)
        for word in ("m\u00fcnchen", "\u20ac", "\u043c\u0443\u0437\u044b\u043a\u0430.exe", "\u03bb\u03cc\u03b3"):
            self.assertIn(word, text)

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
