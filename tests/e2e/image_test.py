"""The two programs: one file each that needs nothing but Windows, with the protections of the linker on."""
import os
import shutil
import struct
import subprocess
import unittest

from harness import BUILD, SCRATCH, VFL, WINE

# Known DLLs of every Windows from 7 on, and NTDLL, which is there before any other: never looked for beside a program.
KNOWN = {"kernel32", "msvcrt", "user32", "advapi32", "ole32", "rpcrt4", "ntdll"}
# Bound at run time, and imports of these.
PLANTED = ("crypt32", "iphlpapi", "winmm", "dnsapi", "nsi", "msacm32")


class Image:
    def __init__(self, data):
        self.data = data
        pe = self.at("<I", 0x3C)
        assert data[:2] == b"MZ" and data[pe:pe + 4] == b"PE\0\0"
        self.machine, sections = self.at("<H", pe + 4), self.at("<H", pe + 6)
        self.optional = pe + 24
        table = self.optional + self.at("<H", pe + 20)
        self.sections = [struct.unpack_from("<8xIIII", data, table + 40 * i) for i in range(sections)]

    def at(self, form, offset):
        return struct.unpack_from(form, self.data, offset)[0]

    def offset(self, address):
        for size, start, raw_size, raw in self.sections:
            if start <= address < start + max(size, raw_size):
                return raw + address - start
        raise ValueError(hex(address))

    def directory(self, index):
        return struct.unpack_from("<II", self.data, self.optional + 112 + 8 * index)

    def imports(self):
        names, entry = [], self.offset(self.directory(1)[0])
        while name := self.at("<I", entry + 12):
            start = self.offset(name)
            names.append(self.data[start:self.data.index(b"\0", start)].decode().lower())
            entry += 20
        return names


class ExecutableFile(unittest.TestCase):
    def images(self):
        return [(exe, Image((BUILD / exe).read_bytes())) for exe in ("vfl.exe", "vflctl.exe")]

    def test_header(self):
        for _, image in self.images():
            self.check_header(image)

    def check_header(self, image):
        self.assertEqual(image.machine, 0x8664)
        self.assertEqual(image.at("<H", image.optional), 0x20B)
        self.assertEqual(image.at("<H", image.optional + 68), 3, "subsystem: console")
        self.assertEqual((image.at("<H", image.optional + 48), image.at("<H", image.optional + 50)), (6, 1))
        protections = image.at("<H", image.optional + 70)
        for name, bit in (("ASLR", 0x40), ("high-entropy ASLR", 0x20), ("DEP", 0x100)):
            self.assertTrue(protections & bit, name)
        self.assertNotEqual(image.directory(5)[1], 0, "without relocations ASLR has no effect")

    def test_imports(self):
        for _, image in self.images():
            names = image.imports()
            self.assertIn("kernel32.dll", names)
            self.assertLessEqual({n.removesuffix(".dll") for n in names}, KNOWN)
            self.assertEqual(image.directory(13)[1], 0, "no delayed imports")

    def test_planted_libraries(self):
        folder = SCRATCH / "planted"
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir()
        shutil.copy(VFL, folder)
        for name in PLANTED:
            shutil.copy(BUILD / "sim/service_library/flowsrv.dll", folder / f"{name}.dll")
        # The start reads the adapters, and -time the clock. Wine's provider of random bytes, which the compiler's stack
        # protector asks before any code of ours, would take CRYPT32 from there.
        overrides = os.environ["WINEDLLOVERRIDES"] + f";rsaenh=;{','.join(PLANTED)}=n,b"
        env = os.environ | {"WINEDLLOVERRIDES": overrides}
        run = subprocess.run([WINE, str(folder / "vfl.exe"), "-time", "echo", "x"], stdin=subprocess.DEVNULL, env=env,
                             stdout=subprocess.PIPE, timeout=300)
        self.assertEqual((run.returncode, run.stdout[:6], run.stdout[-3:]), (0, b"time: ", b"\r\nx"))
