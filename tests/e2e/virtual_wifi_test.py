"""The hosted network on the stand-in WLAN API, from the settings in the registry to the calls that arrive there."""
import os
import pathlib
import re
import shutil
import subprocess
import time
import unittest
import zlib

from harness import BUILD, WINE

PROBE = BUILD / "tests/wifi_probe.exe"
TOOL = BUILD / "sim/set_virtual_wifi.exe"
SYSTEM32 = pathlib.Path(os.environ["WINEPREFIX"]) / "drive_c/windows/system32"
KEY = r"HKLM\Software\Vexa\VexaFlow"
VALUES = ["Virtual Wi-Fi Autostart", "Virtual Wi-Fi SSID", "Virtual Wi-Fi Password (Svc)"]
WAKE_UP = "Starting Virtual Wi-Fi (wake-up call).\n"
NOT_LOADED = "= 0 Could not load functions from WLANAPI.DLL.\n"


def wine(*words, text="", library="n"):
    """A run under Wine with the given kind of wlanapi.dll; its exit code and its two streams as one."""
    run = subprocess.run([WINE, *map(str, words)], input=text.encode(), stdout=subprocess.PIPE,
                         stderr=subprocess.STDOUT, timeout=300, env=environment(library))
    return run.returncode, run.stdout.decode("latin-1").replace("\r\n", "\n")


def environment(library):
    return os.environ | {"WINEDLLOVERRIDES": os.environ.get("WINEDLLOVERRIDES", "") + ";wlanapi=" + library}


def probe(*words, library="n"):
    return wine(PROBE, *words, library=library)[1]


def configure(*lines):
    (SYSTEM32 / "wlanapi.cfg").write_text("\n".join(lines))


def log():
    """The calls since the last reset, without the API's name in front."""
    file = SYSTEM32 / "wlanapi.log"
    text = file.read_bytes().decode("latin-1") if file.exists() else ""
    return [line.replace("WlanHostedNetwork", "").removeprefix("Wlan") for line in text.splitlines()]


def reset():
    for end in ("cfg", "log", "net"):
        (SYSTEM32 / f"wlanapi.{end}").unlink(missing_ok=True)


class VirtualWifi(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.dll, cls.kept = SYSTEM32 / "wlanapi.dll", SYSTEM32 / "wlanapi.kept"
        if not cls.kept.exists():
            cls.dll.rename(cls.kept)
        shutil.copy(BUILD / "sim/wlanapi.dll", cls.dll)

    @classmethod
    def tearDownClass(cls):
        reset()
        cls.kept.replace(cls.dll)
        for name in VALUES:
            wine("reg", "delete", KEY, "/v", name, "/f")

    def setUp(self):
        reset()

    def check_nothing_left(self, calls):
        self.assertTrue(calls)
        for made, gone in ((r"-> 0 client (\d+)$", r"^CloseHandle client (\d+) -> 0$"),
                           (r"block ([1-9]\d*)$", r"^FreeMemory block (\d+)$")):
            # "FreeMemory block 1" is no new block.
            found = [m[1] for c in calls if not c.startswith("Free") and (m := re.search(made, c))]
            self.assertEqual(sorted(found), sorted(m[1] for c in calls if (m := re.search(gone, c))))

    def test_the_network_outlives_session_and_process(self):
        self.assertEqual(probe("start", "home", "a passphrase"), "= 1 \n")
        self.check_nothing_left(log())
        self.assertEqual(probe("state"), "= 2 \n")
        self.assertEqual(probe("stop"), "= 1 \n")
        self.assertEqual(probe("state"), "= 1 \n")
        self.assertEqual(probe("start", "home", ""), "= 0 Error 87 setting secondary key: Bad parameters.\n")
        self.check_nothing_left(log())

    def test_systems_without_the_api(self):
        # No library; Wine's own, which lacks most of the functions.
        for library in ("", "b"):
            with self.subTest(library=library):
                self.assertEqual(probe("start", "home", "12345678", library=library), NOT_LOADED)
                self.assertEqual(probe("state", library=library), "= 0 \n")
        self.assertEqual(log(), [])

    def set_up_network(self, ssid="my network", passphrase="correct horse"):
        self.assertEqual(wine(TOOL, "on", ssid, text=passphrase + "\n"), (0, ""))

    def test_settings_reach_the_network(self):
        secret = "correct horse"
        self.set_up_network("caf\xe9", secret)
        stored = wine("reg", "query", KEY)[1]
        self.assertNotIn(secret, stored)
        self.assertNotIn(secret.encode().hex().upper(), stored)
        said = probe("supervise", "1")
        self.assertEqual(said, WAKE_UP + "Virtual Wi-Fi started.\n= 1 \n")
        calls = "\n".join(log())
        self.assertIn('ssid "caf\xe9"', calls)
        self.assertIn(f"length 14 crc {zlib.crc32(secret.encode() + bytes(1)):08x} ", calls)
        self.assertNotIn(secret, calls + said)
        self.check_nothing_left(log())
        self.assertEqual(probe("supervise", "0"), "Starting Virtual Wi-Fi.\nVirtual Wi-Fi already active.\n= 1 \n")

    def test_tool_refuses_what_the_system_would(self):
        self.set_up_network()
        before = wine("reg", "query", KEY)
        for words, passphrase in [((), ""), (("on",), ""), (("on", ""), "12345678"), (("on", "s" * 33), "12345678"),
                                  (("on", "home"), ""), (("on", "home"), "1234567"), (("on", "home"), "x" * 64),
                                  (("on", "home"), "correct horse "), (("on", "home"), "café horse")]:
            with self.subTest(words=words, passphrase=passphrase):
                code, said = wine(TOOL, *words, text=passphrase)
                self.assertEqual(code, 1)
                self.assertNotEqual(said, "")
        self.assertEqual(wine("reg", "query", KEY), before)

    def power_event(self, event, times, done):
        """What is said when the service is told of it so many times, until done() tells that all has happened."""
        with subprocess.Popen([WINE, str(PROBE), "power", str(event), str(times)], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, env=environment("n")) as run:
            deadline = time.monotonic() + 300
            while not done() and time.monotonic() < deadline:
                time.sleep(0.05)
            self.assertTrue(done(), log())
            return sorted(run.communicate(b"", timeout=300)[0].decode().replace("\r\n", "\n").splitlines(True))

    def handled(self, event, times, *lines):
        power = {4: ["Power suspend\n"], 18: ["Power resume\n"]}.get(event, [])
        return sorted((["srv: HandlerEx 0xd\n", f"SERVICE_CONTROL_POWEREVENT {event}\n"] + power + list(lines)) * times
                      + ["= handled\n"])

    def test_resume(self):
        self.set_up_network()
        for event in 4, 7:
            self.assertEqual(self.power_event(event, 1, lambda: True), self.handled(event, 1))
        self.assertEqual(wine(TOOL, "off"), (0, ""))
        self.assertEqual(self.power_event(18, 1, lambda: True), self.handled(18, 1))
        self.assertEqual(log(), [], "without the autostart there is no run")

        self.set_up_network()
        # The two queries before the start have clients of their own.
        said = self.power_event(18, 1, lambda: sum(c.startswith("CloseHandle") for c in log()) == 3)
        self.assertEqual(said, self.handled(18, 1, WAKE_UP, "Virtual Wi-Fi started.\n"))
        self.assertEqual(log()[-1], "CloseHandle client 1 -> 0")
        self.check_nothing_left(log())
        self.assertEqual(probe("state"), "= 2 \n")

    def test_two_resumes_at_once(self):
        self.set_up_network()
        configure("WlanHostedNetworkForceStart=5", "WlanHostedNetworkForceStart.reason=23")
        said = self.power_event(18, 2, lambda: sum(c.startswith("CloseHandle") for c in log()) == 6)
        failed = "Starting Virtual Wi-Fi failed: Error 5 starting the network: The operation was denied by group " \
                 "policy.\n"
        self.assertEqual(said, self.handled(18, 2, WAKE_UP, failed))
        self.assertEqual(sum(c.startswith("ForceStart") for c in log()), 2)
