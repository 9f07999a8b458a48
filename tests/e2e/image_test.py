"""The two programs: one file each that needs nothing but Windows, with the protections of the linker on."""
import struct
import unittest

from harness import BUILD

SYSTEM = {"kernel32", "msvcrt", "user32", "advapi32", "ole32", "shell32", "winmm", "ws2_32", "iphlpapi", "rpcrt4",
          "crypt32", "version", "ntdll", "gdi32", "oleaut32", "wtsapi32"}


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
        for exe, image in self.images():
            names = image.imports()
            self.assertIn("kernel32.dll", names)
            allowed = SYSTEM - {"ws2_32"} if exe == "vflctl.exe" else SYSTEM
            self.assertLessEqual({n.removesuffix(".dll") for n in names}, allowed)
            self.assertEqual(image.directory(13)[1], 0, "no delayed imports")
