"""The packages: what is in them, and the installer's whole life under msiexec: install, upgrade, remove."""
import os
import shutil
import subprocess
import unittest
import zipfile

from harness import BUILD, ROOT, windows_path
from service_test import DATA, LIBRARY, PREFIX, log, processes, start, state, tool, wait_for

PACKAGES = ROOT / "build/packages"
HOME = PREFIX / "drive_c/Program Files/Vexa/VexaFlow"
PROGRAMS = ("vfl.exe", "vflctl.exe")
KEY = r"HKLM\Software\Vexa\vexaflow"
VERSION = next(line.split("=")[1] for line in (BUILD / "CMakeCache.txt").read_text().splitlines()
               if line.startswith("CMAKE_PROJECT_VERSION:STATIC="))


def package(*words):
    done = subprocess.run([ROOT / "scripts/package.sh", *words], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          check=True)
    return [ROOT / line for line in done.stdout.decode().split()]


def table(msi, name):
    text = subprocess.run(["msiinfo", "export", msi, name], stdout=subprocess.PIPE, check=True).stdout.decode()
    names, _, _, *rows = [line.split("\t") for line in text.splitlines()]
    return [dict(zip(names, row)) for row in rows]


def msiexec(action, msi):
    return tool("msiexec", action, windows_path(msi), "/qn")[0]


class Packages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.msi, cls.zip, cls.symbols = package("--unchecked")

    def test_zips(self):
        top = f"vfl-{VERSION}/"
        with zipfile.ZipFile(self.zip) as archive:
            names = set(archive.namelist())
            for exe in PROGRAMS:
                self.assertEqual(archive.read(top + exe), (BUILD / exe).read_bytes())
        files = ("licence.txt", "notices.txt", "docs/user-guide.md", "docs/messages.md", "docs/vflctl.md")
        self.assertLessEqual({top + n for n in files}, names)
        with zipfile.ZipFile(self.symbols) as archive:
            for exe in PROGRAMS:
                self.assertEqual(archive.read(f"{top}{exe}.debug"), (BUILD / f"{exe}.debug").read_bytes())
        first = [f.read_bytes() for f in (self.zip, self.symbols)]
        package("--unchecked")
        self.assertEqual([f.read_bytes() for f in (self.zip, self.symbols)], first, "the same bytes again")

    def test_actions_of_the_installer(self):
        order = {row["Action"]: int(row["Sequence"]) for row in table(self.msi, "InstallExecuteSequence")}
        self.assertLess(order["StopServices"], order["wait_for_end"])
        self.assertLess(order["wait_for_end"], order["RemoveFiles"])
        self.assertLess(order["InstallServices"], order["set_recovery"])
        self.assertLess(order["set_recovery"], order["StartServices"])
        deferred, as_system, keep_going, installed_program = 0x400, 0x800, 0x40, 18
        self.assertLess(order["InstallFiles"], order["set_folders"])
        self.assertLess(order["set_folders"], order["InstallServices"])
        for row in table(self.msi, "CustomAction"):
            wanted = deferred + as_system + installed_program + (row["Action"] != "set_folders") * keep_going
            self.assertEqual(int(row["Type"]), wanted)
            self.assertEqual(row["Source"], "service_setup.exe")
        self.assertEqual(table(self.msi, "ServiceInstall")[0]["StartType"], "2", "automatic")

    def test_install_upgrade_and_remove(self):
        for left_over in (HOME.parent, DATA):
            shutil.rmtree(left_over, ignore_errors=True)
        newer, = package(VERSION + "0", str(PACKAGES / "newer"))  # a tenfold last number is a higher version
        self.addCleanup(msiexec, "/x", newer)
        self.assertEqual(msiexec("/i", self.msi), 0)
        for exe in PROGRAMS:
            self.assertEqual((HOME / exe).read_bytes(), (BUILD / exe).read_bytes())
        self.assertEqual([p.stat().st_mode & 7 for p in (HOME, HOME / "vfl.exe", DATA)], [0, 0, 0], "for nobody else")
        self.assertIn(r"C:\Program Files\Vexa\VexaFlow" + "\\", tool("reg", "query", KEY, "/v", "install_dir")[1])
        service = tool("reg", "query", r"HKLM\System\CurrentControlSet\Services\VexaFlowS")[1]
        self.assertRegex(service, r'ImagePath +\w+ +"?C:\\Program Files\\Vexa\\VexaFlow\\vfl.exe"? -service')
        # Without the service library the service runs as an empty shell, and says so.
        self.assertEqual(state(), 4)
        wait_for(lambda: (log() or [""])[-1] == "start_service reported an error", "a line that says so")

        tool("sc", "stop", "VexaFlowS")
        wait_for(lambda: not processes(), "the end of the process")
        shutil.copy(LIBRARY, HOME)
        (HOME / "flowsrv.cfg").write_text("stop_service_ex.delay=8000\n")
        (DATA / "global.ini").write_text("[param]\ntrace=1\n")
        tool("reg", "add", KEY, "/v", "kept", "/d", "by others", "/f")
        start()
        wait_for(lambda: state() == 4, "a running service")

        self.assertEqual(msiexec("/i", newer), 0)
        self.assertEqual(state(), 4)
        # While the old process stops it is still there, for 8 seconds; the new one had to wait for its end.
        self.assertEqual(len(processes()), 1)
        calls = [line.split()[0] for line in (HOME / "flowsrv.log").read_text().splitlines()]
        self.assertEqual(calls, ["start_service_ex", "stop_service_ex", "start_service_ex"])
        self.assertIn("[param]", (DATA / "global.ini").read_text())
        (HOME / "flowsrv.cfg").unlink()

        self.assertEqual(msiexec("/x", newer), 0)
        self.assertEqual(processes(), [])
        self.assertEqual(state(), 0, "no such service")
        # What the package didn't bring stays.
        self.assertEqual(sorted(os.listdir(HOME)), ["flowsrv.dll", "flowsrv.log"])
        self.assertEqual(sorted(os.listdir(DATA)), ["global.ini", "trace.txt"])
        values = tool("reg", "query", KEY)[1]
        self.assertNotIn("install_dir", values)
        self.assertIn("kept", values)
        shutil.rmtree(HOME.parent)
        shutil.rmtree(DATA)
        tool("reg", "delete", KEY, "/f")


class Version(unittest.TestCase):
    def test_resources(self):
        numbers = [int(n) for n in VERSION.split(".")] + [0]
        fixed = b"\xbd\x04\xef\xfe\0\0\1\0" + b"".join(
            n.to_bytes(2, "little") for n in (numbers[1], numbers[0], numbers[3], numbers[2]))
        for exe in PROGRAMS:
            data = (BUILD / exe).read_bytes()
            self.assertEqual(data.count(fixed), 1)
            self.assertIn("ProductVersion\0".encode("utf-16-le"), data)
            for word in (b'level="asInvoker"', b"longPathAware", b"35138b9a-5d96-4fbd-8e2d-a2440225f93a"):
                self.assertIn(word, data)
            self.assertNotIn(b"activeCodePage", data)


if __name__ == "__main__":
    unittest.main()
