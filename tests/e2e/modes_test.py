"""The modes that call the service library once, -win32 at a console, and a system that is too old."""
import shutil
import subprocess
import unittest

from console_test import in_terminal
from harness import BUILD, SCRATCH, VFL, WINE, Run, windows_path

FOLDER = SCRATCH / "library h\u00f6me"
DLL = windows_path(FOLDER / "flowsrv.dll")
WIN32 = ["-win32", "-dllpath", DLL]
TOKEN = " token 5e19d4a7c36b02f8"
STOP = f"stop_service_ex{TOKEN} -> 0"
LOG = r'"C:\ProgramData\Vexa\vexaflow\trace.txt"'


def use(library="service_library", settings=""):
    shutil.rmtree(FOLDER, ignore_errors=True)
    FOLDER.mkdir(parents=True)
    shutil.copy(BUILD / "sim" / library / "flowsrv.dll", FOLDER)
    (FOLDER / "flowsrv.cfg").write_text(settings)


def calls():
    path = FOLDER / "flowsrv.log"
    return path.read_text(encoding="utf-8").splitlines() if path.exists() else []


def started(stdin):
    """-win32 without a console, at its prompt."""
    process = subprocess.Popen([WINE, str(VFL), *WIN32], stdin=stdin, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                               bufsize=0)
    shown = b""
    while not shown.endswith(b"press key to exit "):
        byte = process.stdout.read(1)
        assert byte, shown
        shown += byte
    return process


class Modes(unittest.TestCase):
    def check(self, arguments, code, out, wanted):
        run = Run(arguments)
        self.assertEqual((run.out.decode("cp437"), run.err, run.code), (out, b"", code), arguments)
        self.assertEqual(calls(), wanted, arguments)

    def test_calls_of_the_library(self):
        path = f' -dllpath "{DLL}"'
        rows = [
            (" -tcpview", "", 0, "", ["dump_connections -> 0"]),
            (" -calib", "calibrate_burst=9\n", 0, "", ["calibrate_burst NULL -> 9"]),
            (' -calib 1 "zw\u00f6lf  \u4e2d" -hex', "", 0, "", ['calibrate_burst "1" "zw\u00f6lf  \u4e2d" "-hex" -> 0']),
            (' -calibfile "C:\\a b"', "calibrate_file=0x1234\n", 0x34, "", [r'calibrate_file "C:\a b" -> 4660']),
            (" -install_driver", "", 0, "Driver installation finished with code 0\r\n",
             [f'install_driver_ex "" {LOG}{TOKEN} -> 0']),
            (" -Install_Driver", "install_driver_ex=3010\n", 0, "Driver installation finished with code 3010\r\n",
             [f'install_driver_ex "" {LOG}{TOKEN} -> 3010']),
            (" -uninstall_driver", "uninstall_driver_ex=4294967295\n", 0,
             "Driver uninstallation finished with code 4294967295\r\n",
             [f"uninstall_driver_ex {LOG}{TOKEN} -> 4294967295"]),
        ]
        for arguments, settings, code, out, wanted in rows:
            with self.subTest(arguments):
                use(settings=settings)
                self.check(path + arguments, code, out, wanted)

    def test_library_path(self):
        use()
        called = ["dump_connections -> 0"]
        for count, arguments in enumerate((f'-tcpview -DLLPATH "  {DLL}\t "', f'-dllpath nothing -tcpview -dllpath "{DLL}"',
                                           f'-dllpath "{DLL}" -tcpview -dllpath'), 1):
            with self.subTest(arguments):
                self.check(" " + arguments, 0, "", called * count)
        # A bare name is looked for in the system folders only.
        self.check(" -tcpview -dllpath", 0, "Unable to load flowsrv.dll\r\n", called * 3)
        self.check(" -uninstall_driver", 1, "unable to load uninstall func from flowsrv.dll\r\n", called * 3)
        self.check(' -tcpview -dllpath ""', 0, "Unable to load \r\n", called * 3)

    def test_ends_at_a_console(self):
        rows = [
            ("a key", "", None, b"exit", b"x", 1),
            ("a failed start, and a key", "start_service_ex=0\n", None, b"exit", b"x", 0),
            ("Ctrl+C", "", None, b"exit", b"\3", 1),
            ("Ctrl+C during the start", "start_service_ex.delay=1500\n", None, b"start_service", b"\3", 1),
            ("Ctrl+C and no input", "", subprocess.DEVNULL, b"exit", b"\3", 1),
        ]
        for name, settings, stdin, after, keys, result in rows:
            with self.subTest(name):
                use(settings=settings)
                code, shown = in_terminal([WINE, str(VFL), "-game_analyzer", *WIN32], stdin=stdin, after=after, keys=keys)
                self.assertEqual(code, 0)
                # A terminal's text is a rendering, in which cursor movements stand for blanks.
                for text in (b"start_service()", b"press", b"exit", b"stop_service()"):
                    self.assertIn(text, shown)
                self.assertEqual(b"start_service reported an error" in shown, result == 0)
                self.assertEqual(calls(), ["set_game_analyzer -> 0", f"start_service_ex{TOKEN} -> {result}", STOP])

    def test_ends_without_a_console(self):
        for name, end in (("a byte", lambda pipe: pipe.write(b"x")), ("the end of the pipe", lambda pipe: pipe.close())):
            with self.subTest(name):
                use()
                with started(subprocess.PIPE) as process:
                    self.assertEqual(len(calls()), 1)
                    end(process.stdin)
                    self.assertEqual(process.stdout.read(), b"\r\nstop_service()\r\n")
                    self.assertEqual(process.wait(30), 0)
                self.assertEqual(calls()[1:], [STOP])
        use()
        with started(subprocess.DEVNULL) as process:
            self.check(" -tcpview -dllpath nothing", 0, "Unable to load nothing\r\n", calls())
            self.assertIsNone(process.poll(), "it must go on for longer than another program takes")
            process.kill()

    def test_a_system_below_windows_7(self):
        key = r"HKCU\Software\Wine\AppDefaults\vfl.exe"

        def reg(*words):
            self.assertEqual(subprocess.run([WINE, "reg", *words], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                            stderr=subprocess.DEVNULL, timeout=300).returncode, 0)

        use()
        reg("add", key, "/v", "Version", "/d", "winxp64", "/f")
        try:
            for arguments in ("", " -bincons", " -service", f' -tcpview -dllpath "{DLL}"'):
                with self.subTest(arguments):
                    self.check(arguments, 1, "Operating system not supported.", [])
        finally:
            reg("delete", key, "/f")


if __name__ == "__main__":
    unittest.main()
