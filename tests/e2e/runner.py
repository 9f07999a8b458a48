"""Runs the test files beside it and the transcripts of cases/, one line a test, and counts."""
import pathlib
import sys
import time
import unittest

import harness
import transcript


class Result(unittest.TestResult):
    def startTest(self, test):
        super().startTest(test)
        harness.order("reset", "log clear")
        self.started, self.before = time.monotonic(), self.bad()

    def stopTest(self, test):
        word = "ok" if self.bad() == self.before else "FAILED"
        print(f"{word:6} {time.monotonic() - self.started:5.1f} s  {test.id()}", flush=True)
        super().stopTest(test)

    def bad(self):
        return len(self.failures) + len(self.errors)


pattern = sys.argv[1] if len(sys.argv) > 1 else "*"
folder = pathlib.Path(__file__).parent
suite = unittest.defaultTestLoader.discover(str(folder), f"{pattern}_test.py")
suite.addTests(transcript.suite(path) for path in sorted(folder.glob(f"cases/{pattern}.txt")))
result = Result()
suite.run(result)
for test, text in result.failures + result.errors:
    print(f"\nFAILED {test}\n{text}")
# A test with several failed rows counts once.
failed = len({str(test).split(" (")[0] + test.id().split(" ")[0] for test, _ in result.failures + result.errors})
passed = result.testsRun - failed
print(f"{passed} passed, {failed} failed")
sys.exit(1 if failed or not passed else 0)
