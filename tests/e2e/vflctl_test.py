"""The support tool beside a service, a driver, settings and a log that are sound, broken or changing."""
import json
import shutil
import subprocess
import unittest

import service_test
from harness import BUILD, SCRATCH, WINE, Run, Streaming, order, windows_path
from service_test import DATA, HOME, LIBRARY, configure, processes, tool, wait_for

CTL = BUILD / "vflctl.exe"
KEY, WIFI = r"HKLM\Software\Vexa\vexaflow", r"HKLM\Software\Vexa\VexaFlow"
OTHER_WINDOWS = r"HKCU\Software\Wine\AppDefaults\vflctl.exe"


def ctl(words, code=0):
    """The lines on both streams of a run that has to end with that exit code."""
    run = Run(f" {words} --utf8", program='"vflctl.exe"', exe=CTL)
    assert run.code == code, (words, run.code, run.out, run.err)
    return run.out.decode().splitlines(), run.err.decode().splitlines()


def install(start):
    tool("sc", "delete", "VexaFlowS")
    words = ("type=", "own", "start=", start, "binPath=", r"C:\vexa\vfl.exe -service")
    wait_for(lambda: tool("sc", "create", "VexaFlowS", *words)[0] == 0, "a service that is registered")


def library(path):
    (HOME / "flowsrv.dll").unlink()
    if path:
        shutil.copy(path, HOME / "flowsrv.dll")


class Support(unittest.TestCase):
    setUpClass, tearDownClass = service_test.Service.setUpClass, service_test.Service.tearDownClass
    setUp, settings = service_test.Service.setUp, service_test.Service.settings

    def tearDown(self):
        Run(" service stop --wait", program='"vflctl.exe"', exe=CTL)

    def check_doctor(self, bad):
        """Once more where a sound driver has taken more than the tool's 5 s, and for no other failure."""
        try:
            self.look_at_doctor(bad)
        except AssertionError as failure:
            if "has not answered" not in str(failure) and "['fail', 'driver']" not in str(failure):
                raise
            self.look_at_doctor(bad)

    def look_at_doctor(self, bad):
        """`bad` is the status of each check that isn't sound: in text, JSON and exit code alike."""
        code = 2 if "fail" in bad.values() else 1 if "warn" in bad.values() else 0
        report = json.loads(ctl("doctor --json", code)[0][0])
        found = {c["id"]: c["status"] for c in report["checks"] if c["status"] != "ok"}
        self.assertEqual(found, {"hosted_network": "skip"} | bad, report)
        self.assertEqual(report["verdict"], ("ok", "warn", "fail")[code])
        shown = [line.lower().split()[:2] for line in ctl("doctor", code)[0][:-1] if line[0] != " "]
        self.assertEqual(shown, [[c["status"], c["id"]] for c in report["checks"]])

    def test_doctor(self):
        log, kept, ini = DATA / "trace.txt", DATA / "kept", DATA / "global.ini"
        install("auto")
        ctl("service start --wait")
        self.check_doctor({})
        rows = [
            ({"driver": "fail"}, lambda: order("order bin error 5"), lambda: order("reset")),
            ({"driver": "fail"}, lambda: order("order bin never"), lambda: order("reset")),
            ({"install_dir": "fail", "program": "fail", "library": "fail"},
             lambda: tool("reg", "delete", KEY, "/v", "install_dir", "/f"),
             lambda: tool("reg", "add", KEY, "/v", "install_dir", "/d", r"C:\vexa", "/f")),
            ({"library": "fail"}, lambda: library(BUILD / "sim/without/start_service_ex/flowsrv.dll"),
             lambda: library(LIBRARY)),
            ({"settings": "warn"}, lambda: self.settings("trace 0\n"), ini.unlink),
            ({"settings": "fail"}, ini.mkdir, ini.rmdir),
            ({"hosted_network": "fail"},
             lambda: tool("reg", "add", WIFI, "/v", "Virtual Wi-Fi Autostart", "/t", "REG_DWORD", "/d", "1", "/f"),
             lambda: tool("reg", "delete", WIFI, "/v", "Virtual Wi-Fi Autostart", "/f")),
            ({"os": "fail"}, lambda: tool("reg", "add", OTHER_WINDOWS, "/v", "Version", "/d", "win2003", "/f"),
             lambda: tool("reg", "delete", OTHER_WINDOWS, "/f")),
            ({"log": "warn"}, lambda: log.write_bytes(log.read_bytes() + b"\r\nbuffer overflow\r\n"), lambda: None),
            ({"log": "fail", "library_start": "warn"}, lambda: (log.rename(kept), log.mkdir()), log.rmdir),
            ({"service": "warn", "library_start": "skip", "data_dir": "fail"},
             lambda: (ctl("service stop --wait"), shutil.rmtree(DATA)), lambda: None),
            ({"library": "fail", "library_start": "fail", "log": "warn"},
             lambda: (library(None), ctl("service start --wait", 1), ctl("service status", 1)), lambda: None)]
        for bad, breaks, mends in rows:
            with self.subTest(bad):
                breaks()
                self.check_doctor(bad)
                mends()

    def test_service(self):
        configure("stop_service_ex.delay=4000\n")
        ctl("service start --wait")
        stopped, = ctl("service stop --wait")[0]
        self.assertEqual(processes(), [])
        self.assertRegex(stopped, r"reported stopped after [0-9.]+ s, ended after ([4-9]|\d\d+)\.\d s$")
        self.assertEqual(ctl("service status", 3), (["VexaFlowS is stopped"], []))
        install("disabled")
        self.assertIn("the service is disabled", ctl("service start", 1)[1][0])
        tool("sc", "delete", "VexaFlowS")
        self.assertEqual(ctl("service status", 4)[0], ["VexaFlowS is not installed"])
        install("demand")

    def test_settings_beside_the_service_and_other_writers(self):
        ctl("service start --wait")
        writers = [subprocess.Popen([WINE, str(CTL), "ini", "set", "s", f"k{i}", f"\u20ac {i}"]) for i in range(6)]
        self.assertEqual([w.wait(300) for w in writers], [0] * 6)
        self.assertEqual(sorted(ctl("ini list s")[0]), [f"k{i}=\u20ac {i}" for i in range(6)])

    def test_log_is_followed_across_rotations(self):
        self.settings("[param]\nmax_trace_size=300\n")
        lines, shown = service_test.STARTED + service_test.STOPPED, b""
        with Streaming("log -f --run all", exe=CTL) as follower:
            for _ in range(6):  # each shown before the next, or two rotations could lie between two looks
                ctl("service start --wait")
                shown += follower.out_until(lines[2].encode() + b"\r\n")
                ctl("service stop --wait")
                shown += follower.out_until(lines[4].encode() + b"\r\n")
            self.assertEqual(follower.kept[follower.process.stderr], b"")
        self.assertEqual([line[25:] for line in shown.decode().splitlines()], lines * 6)
        self.assertTrue((DATA / "trace_old.txt").exists())

    def test_closed_pipe(self):
        many = SCRATCH / "many.txt"
        many.write_bytes(b"000000-000 \xe2\x82\xac \x1b\r\n" * 100000)
        line = b"~2026-01-02 00:00:00.000 \xe2\x82\xac \xef\xbf\xbd\r\n"
        with Streaming(f"log --utf8 --day 2026-01-02 --file {windows_path(many)}", exe=CTL) as run:
            self.assertEqual(run.out(3 * len(line)), line * 3)
            run.process.stdout.close()  # the reader goes
            self.assertEqual(run.process.wait(300), 0)


if __name__ == "__main__":
    unittest.main()
