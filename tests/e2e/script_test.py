"""scripts/vfl.sh: quiet when nothing is to do, from any folder, with the exit code and the console of vfl.exe."""
import subprocess
import unittest

from console_test import in_terminal
from harness import ROOT

SCRIPT = str(ROOT / "scripts/vfl.sh")


def run(*arguments):
    return subprocess.run([SCRIPT, *arguments], cwd="/", stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, timeout=120)


class Script(unittest.TestCase):
    def test_runs(self):
        was_up = b"Starting" not in run("reset").stderr
        try:
            done = run("echo", "a  b")
            self.assertEqual((done.returncode, done.stdout, done.stderr), (0, b'"a  b"', b""))
            done = run("error", "31")
            self.assertEqual(done.returncode, 1)
            self.assertTrue(done.stderr.endswith(b"Port not found.\r\n"))
            code, shown = in_terminal([SCRIPT, "-bincons"])
            self.assertEqual(code, 0)
            self.assertIn("m\u00fcnchen.example".encode(), shown)
        finally:
            if not was_up:
                self.assertIn(b"Ending", run("--stop").stderr)
                self.assertEqual(run("--stop").stderr, b"")
