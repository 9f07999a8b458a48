"""The modes that call the service library once, -win32 at a console, and a system that is too old."""
import os
import pty
import select
import shutil
import subprocess
import time
import unittest

from harness import BUILD, SCRATCH, VFL, WINE, Run, windows_path

FOLDER = SCRATCH / "library h\u00f6me"
DLL = windows_path(FOLDER / "flowsrv.dll")
TOKEN = " token 5e19d4a7c36b02f8"
LOG = r'"C:\ProgramData\Vexa\vexaflow\trace.txt"'


def use(library="service_library", settings=""):
    shutil.rmtree(FOLDER, ignore_errors=True)
    FOLDER.mkdir(parents=True)
    shutil.copy(BUILD / "sim" / library / "flowsrv.dll", FOLDER)
    (FOLDER / "flowsrv.cfg").write_text(settings)


def calls():
    path = FOLDER / "flowsrv.log"
    return path.read_text(encoding="utf-8").splitlines() if path.exists() else []


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

    def test_exports_that_are_missing(self):
        shown = DLL.replace("\u00f6", "\u00f6")
        rows = [
            (" -tcpview", "dump_connections", 0, "Unable to load"),
            (" -calib 1", "calibrate_burst", 0, "Unable to load"),
            (" -calibfile 1", "calibrate_file", 0, "Unable to load"),
            (" -install_driver", "install_driver_ex", 1, "unable to load install func from"),
            (" -uninstall_driver", "uninstall_driver_ex", 1, "unable to load uninstall func from"),
        ]
        for arguments, export, code, text in rows:
            with self.subTest(arguments):
                use(f"without/{export}")
                self.check(f'{arguments} -dllpath "{DLL}"', code, f"{text} {shown}\r\n", [])
                self.check(arguments, code, f"{text} flowsrv.dll\r\n", [])  # in the system folders only

    def test_library_path(self):
        use()
        called = ["dump_connections -> 0"]
        for count, arguments in enumerate((f'-tcpview -DLLPATH "  {DLL}\t "', f'-dllpath nothing -tcpview -dllpath "{DLL}"',
                                           f'-dllpath "{DLL}" -tcpview -dllpath'), 1):
            with self.subTest(arguments):
                self.check(" " + arguments, 0, "", called * count)
        self.check(" -tcpview -dllpath", 0, "Unable to load flowsrv.dll\r\n", called * 3)
        self.check(' -tcpview -dllpath ""', 0, "Unable to load \r\n", called * 3)

    def test_host_at_a_console(self):
        for settings, failed in (("", b""), ("start_service_ex=0\n", b"start_service reported an error")):
            with self.subTest(settings):
                use(settings=settings)
                (BUILD.parent / "wine").mkdir(exist_ok=True)
                pid, terminal = pty.fork()
                if pid == 0:
                    os.execv(WINE, [WINE, str(VFL), "-game_analyzer", "-win32", "-dllpath", DLL])
                seen, deadline, pressed = b"", time.monotonic() + 60, False
                while time.monotonic() < deadline:
                    if select.select([terminal], [], [], 0.5)[0]:
                        try:
                            seen += os.read(terminal, 4096)
                        except OSError:
                            break
                    elif b"exit" in seen and not pressed:
                        os.write(terminal, b"x")  # it waits
                        pressed = True
                os.close(terminal)
                self.assertEqual(os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]), 0)
                # A terminal's text is a rendering, in which cursor movements stand for blanks.
                for text in (b"start_service()", b"press", b"exit", b"stop_service()", failed):
                    self.assertIn(text, seen)
                result = 0 if failed else 1
                self.assertEqual(calls(), ["set_game_analyzer -> 0", f"start_service_ex{TOKEN} -> {result}",
                                           f"stop_service_ex{TOKEN} -> 0"])

    def test_a_system_below_windows_7(self):
        key = r"HKCU\Software\Wine\AppDefaults\vfl.exe"

        def reg(*words):
            self.assertEqual(subprocess.run([WINE, "reg", *words], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                            stderr=subprocess.DEVNULL, timeout=60).returncode, 0)

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
