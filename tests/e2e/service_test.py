"""The service under Wine's service control manager: its states, its log, the calls to the service library."""
import os
import pathlib
import re
import shutil
import subprocess
import time
import unittest

from harness import BUILD, VFL, WINE, Run

PREFIX = pathlib.Path(os.environ["WINEPREFIX"])
HOME = PREFIX / "drive_c/vexa"
DATA = PREFIX / "drive_c/ProgramData/Vexa/vexaflow"
LIBRARY = BUILD / "sim/service_library/flowsrv.dll"
TOKEN = " token 5e19d4a7c36b02f8"

BANNER = "srv: ------ VexaFlow (x64) service v11.10.2483 starting ------"
STARTED = [BANNER, "srv: service_start", "start_service()"]
OWNED = r"srv: the folder 'C:\ProgramData\Vexa\vexaflow' belonged to another account; its rights are set"
STOPPED = ["srv: HandlerEx 0x1", "stop_service()"]
CALLS = [f"start_service_ex{TOKEN} -> 1", f"stop_service_ex{TOKEN} -> 0"]


def tool(*words):
    done = subprocess.run([WINE, *words], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          timeout=300)
    return done.returncode, done.stdout.decode()


def state():
    found = re.search(r"STATE\s*: (\d)", tool("sc", "query", "VexaFlowS")[1])
    return int(found.group(1)) if found else 0


def processes():
    """The service's processes of this prefix."""
    found = []
    for entry in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            if b"-service" in (entry / "cmdline").read_bytes() and b"vfl.exe" in (entry / "cmdline").read_bytes() and \
                    f"WINEPREFIX={PREFIX}".encode() in (entry / "environ").read_bytes().split(b"\0"):
                found.append(entry.name)
        except OSError:
            pass
    return found


def wait_for(condition, what):
    deadline = time.monotonic() + 300
    while not condition():
        if time.monotonic() > deadline:
            raise RuntimeError(f"300 s without {what}")
        time.sleep(0.05)


def start():
    """The manager refuses until it has seen the end of an earlier process, which no state shows."""
    wait_for(lambda: tool("sc", "start", "VexaFlowS")[0] == 0, "a start that is accepted")


def calls():
    path = HOME / "flowsrv.log"
    return path.read_text(encoding="utf-8").splitlines() if path.exists() else []


def log(name="trace.txt"):
    """The log's lines without their stamps, each of which must be there."""
    path = DATA / name
    if not path.exists():
        return None
    text = path.read_bytes().decode("utf-8")
    assert text.endswith("\r\n"), text[-100:]
    lines = []
    for line in text.split("\r\n")[:-1]:
        assert re.match(r"\d{6}-\d{3} ", line), line
        lines.append(line[11:])
    return lines


def configure(text):
    (HOME / "flowsrv.cfg").write_text(text)


class Service(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        HOME.mkdir(exist_ok=True)
        shutil.copy(VFL, HOME)
        assert tool("reg", "add", r"HKLM\Software\Vexa\vexaflow", "/v", "install_dir", "/t", "REG_SZ", "/d",
                    r"C:\vexa", "/f")[0] == 0
        tool("sc", "delete", "VexaFlowS")
        assert tool("sc", "create", "VexaFlowS", "type=", "own", "start=", "demand", "binPath=",
                    r"C:\vexa\vfl.exe -service")[0] == 0

    @classmethod
    def tearDownClass(cls):
        tool("sc", "delete", "VexaFlowS")
        tool("reg", "delete", r"HKLM\Software\Vexa\vexaflow", "/f")
        shutil.rmtree(HOME)
        shutil.rmtree(DATA, ignore_errors=True)

    def setUp(self):
        shutil.rmtree(DATA, ignore_errors=True)
        for name in ("flowsrv.log", "flowsrv.cfg"):
            (HOME / name).unlink(missing_ok=True)
        shutil.copy(LIBRARY, HOME)

    def start(self):
        start()
        wait_for(lambda: state() == 4, "a running service")

    def stop(self):
        self.assertEqual(tool("sc", "stop", "VexaFlowS")[0], 0)
        # The stop is reported before the teardown: what counts is the end of the process.
        wait_for(lambda: not processes(), "the end of the process")
        wait_for(lambda: state() == 1, "a stopped service")

    def settings(self, text):
        DATA.mkdir(parents=True, exist_ok=True)
        (DATA / "global.ini").write_bytes(text.encode())

    def test_start_and_stop(self):
        for round_number in range(1, 11):
            self.start()
            self.stop()
            self.assertEqual(calls(), CALLS * round_number)
            self.assertEqual(log(), (STARTED + STOPPED) * round_number)
        self.assertEqual(os.listdir(DATA), ["trace.txt"], "nothing else, and no settings file for reading alone")

    @unittest.skipIf(os.getuid(), "only root can give a folder away")
    def test_data_folder_of_another_account(self):
        self.settings("[param]\n")
        os.chown(DATA, 65534, 65534)
        self.start()
        self.stop()
        self.assertEqual(log(), [BANNER, OWNED] + STARTED[1:] + STOPPED)
        # Wine keeps the owner, and of an access list what fits into a mode.
        self.assertEqual([p.stat().st_mode & 7 for p in (DATA, DATA / "global.ini")], [0, 0])

    def test_library_that_does_not_start(self):
        failed = "start_service reported an error"
        not_loaded = r"Unable to load C:\vexa\flowsrv.dll"
        reason = "srv: library error "
        no_library = reason + "126: the file, or a library that it needs, is missing"
        no_function = reason + "127: the library, or one that it needs, lacks a function"
        no_image = reason + "193: the file is no library for 64-bit Windows"
        rows = [
            ("a start that fails", "start_service_ex=0xff00\n", LIBRARY, [failed],
             [f"start_service_ex{TOKEN} -> 65280", CALLS[1]]),
            ("no library", "", None, [not_loaded, no_library, failed], []),
            ("another file", "", pathlib.Path(__file__), [not_loaded, no_image, failed], []),
            ("no start", "", BUILD / "sim/without/start_service_ex/flowsrv.dll", [not_loaded, no_function, failed],
             [CALLS[1]]),
            ("no stop", "", BUILD / "sim/without/stop_service_ex/flowsrv.dll", [], [CALLS[0]]),
        ]
        for name, settings, library, lines, wanted in rows:
            with self.subTest(name):
                self.setUp()
                configure(settings)
                (HOME / "flowsrv.dll").unlink()
                if library:
                    shutil.copy(library, HOME / "flowsrv.dll")
                self.start()
                self.stop()
                self.assertEqual(log(), STARTED + lines + STOPPED)
                self.assertEqual(calls(), wanted)

    def test_stop_during_a_slow_start(self):
        # Nothing waits for the start: its thread ends with the process, or before it, while the stop is at work.
        for start_ms, stop_ms in ((600000, 0), (1500, 4000)):
            with self.subTest(start_ms=start_ms):
                self.setUp()
                configure(f"start_service_ex.delay={start_ms}\nstop_service_ex.delay={stop_ms}\n")
                start()
                wait_for(lambda: len(calls()) == 1, "a start that has begun")
                self.stop()
                self.assertEqual(calls(), CALLS)
                self.assertEqual(log(), STARTED + STOPPED)
                self.assertEqual(state(), 1)

    def test_settings_of_the_log(self):
        rows = [
            ("off", "[param]\ntrace=0\n", None, None),
            # Each flush leaves the log above its limit, so the last one is the old generation.
            ("limit", "[param]\nmax_trace_size=1\n", None, [STOPPED[1]]),
        ]
        for name, settings, lines, old in rows:
            with self.subTest(name):
                self.setUp()
                self.settings(settings)
                self.start()
                self.stop()
                self.assertEqual(log(), lines)
                if old:
                    self.assertEqual(log("trace_old.txt")[-1:], old)
                self.assertEqual((DATA / "global.ini").read_text(), settings)

    def test_from_a_console(self):
        run = Run(" -SERVICE", exe=HOME / "vfl.exe")
        self.assertEqual((run.code, run.err), (1, b""))
        self.assertEqual(run.out, b"StartServiceCtrlDispatcher error 1063\r\nstop_service()\r\n")
        self.assertEqual(calls(), [CALLS[1]])


if __name__ == "__main__":
    unittest.main()
