"""What the end-to-end tests share: the helper inside Wine, the driver's text channel and its log, runs of vfl.exe."""
import atexit
import os
import pathlib
import select
import struct
import subprocess
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = ROOT / "build/windows"
VFL = BUILD / "vfl.exe"
SCRATCH = ROOT / "build/e2e"
WINE = "/usr/lib/wine/wine64"
TEXT_IOCTL = 0x80002018
BIN_IOCTL = 0x8000202C


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def hexed(data):
    return data.hex() if data else "-"


class Helper:
    """launch.exe, which starts programs with exact command lines and talks to the device."""

    def __init__(self):
        self.process = subprocess.Popen([WINE, str(BUILD / "tests/launch.exe")], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        atexit.register(self.close)

    def close(self):
        self.process.stdin.close()
        try:
            self.process.wait(10)
        except subprocess.TimeoutExpired:
            self.process.kill()

    def ask(self, order):
        self.process.stdin.write(order.encode() + b"\n")
        self.process.stdin.flush()
        answer = self.process.stdout.readline().decode().split()
        if not answer:
            raise RuntimeError(f"the helper ended at: {order[:200]}")
        return answer


_helper = None


def helper():
    global _helper
    if _helper is None:
        SCRATCH.mkdir(parents=True, exist_ok=True)
        _helper = Helper()
    return _helper


def ioctl(code, data, out_size, order="ioctl"):
    """One request from the helper: (Windows error, bytes returned, reply)."""
    answer = helper().ask(f"{order} {code:#x} {hexed(data)} {out_size}")
    if answer[0] != "done":
        raise RuntimeError(f"device: {' '.join(answer)}")
    return int(answer[1]), int(answer[2]), b"" if answer[3] == "-" else bytes.fromhex(answer[3])


def tell(command):
    """A text command to the driver, straight from the helper. Returns the reply."""
    error, _, reply = ioctl(TEXT_IOCTL, command.encode("utf-16-le"), 0x200000)
    if error:
        raise RuntimeError(f"driver: {command}: error {error}")
    return reply.decode("utf-16-le")


def order(*commands):
    """Text commands that the driver has to accept."""
    for command in commands:
        reply = tell(command)
        if reply != "ok\n":
            raise RuntimeError(f"driver: {command}: {reply}")


class Request:
    """One line of the driver's log."""

    def __init__(self, line):
        fields = dict(f.split("=", 1) for f in line.split() if "=" in f)
        self.code = int(fields["code"], 16)
        self.in_size = int(fields["in"])
        self.out_size = int(fields["out"])
        self.status = int(fields["status"], 16)
        self.returned = int(fields["returned"])
        self.pending = " pending " in line
        self.input = bytes.fromhex(fields["input"])

    @property
    def text(self):
        return self.input.decode("utf-16-le")


def received():
    """What the driver has received since the last call, oldest first."""
    found = [Request(line) for line in tell("log").splitlines()]
    order("log clear")
    return found


class Run:
    """A finished run of vfl.exe: exit code (32 bits), the two streams as bytes."""

    def __init__(self, arguments="", program='"vfl.exe"', exe=VFL):
        files = [SCRATCH / "stdout.bin", SCRATCH / "stderr.bin"]
        words = [windows_path(exe), program + arguments, *map(windows_path, files)]
        answer = helper().ask("run " + " ".join(hexed(w.encode("utf-16-le", "surrogatepass")) for w in words))
        if answer[0] != "exit":
            raise RuntimeError(f"vfl.exe {arguments}: {' '.join(answer)}")
        self.code = int(answer[1])
        self.out, self.err = (f.read_bytes() for f in files)


class Streaming:
    """A program that goes on until it is killed; what it prints is read from pipes as it comes."""

    def __init__(self, arguments, exe=VFL):
        self.process = subprocess.Popen([WINE, str(exe), *arguments.split()], stdin=subprocess.DEVNULL,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, bufsize=0)
        self.kept = {self.process.stdout: b"", self.process.stderr: b""}

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()

    def stop(self):
        self.process.kill()
        self.process.wait()
        for stream in self.kept:
            stream.close()

    def _until(self, stream, enough):
        """Reads until enough(bytes) gives a length; takes that much."""
        deadline = time.monotonic() + 300
        while (length := enough(self.kept[stream])) is None:
            # Both pipes are emptied, or the one that nobody reads would fill up and stop the program.
            ready, _, _ = select.select(list(self.kept), [], [], max(0, deadline - time.monotonic()))
            for s in ready:
                data = os.read(s.fileno(), 65536)
                if not data and s is stream:
                    raise RuntimeError(f"the program ended after {self.kept[stream]!r}")
                self.kept[s] += data
            if not ready:
                raise RuntimeError(f"nothing more in 300 s after {self.kept[stream][-200:]!r}")
        taken, self.kept[stream] = self.kept[stream][:length], self.kept[stream][length:]
        return taken

    def out(self, count):
        return self._until(self.process.stdout, lambda kept: count if len(kept) >= count else None)

    def err(self, count):
        return self._until(self.process.stderr, lambda kept: count if len(kept) >= count else None)

    def err_line(self):
        return self._until(self.process.stderr, lambda kept: kept.find(b"\n") + 1 or None)

    def out_until(self, end):
        return self._until(self.process.stdout, lambda kept: kept.find(end) + len(end) if end in kept else None)


def sc(*words):
    """The service control tool, for loading and unloading the driver."""
    return subprocess.run([WINE, "sc", *words], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL, timeout=300).returncode


def hex_dump(data):
    """The dump that -hex prints, by its rule: 16 bytes a line, the characters behind them."""
    lines = []
    for start in range(0, len(data), 16):
        row = data[start:start + 16]
        text = " ".join(f"{b:02x}" for b in row[:8])
        if len(row) > 8:
            text += "-" + " ".join(f"{b:02x}" for b in row[8:])
        if len(data) > 1:
            text += " " * (47 - 3 * (len(row) - 1)) + "".join(chr(b) if 32 <= b <= 127 else "." for b in row)
        lines.append(text)
    return "".join(line + "\r\n" for line in lines).encode("latin-1")


def bin_request(command, argument=None):
    return struct.pack("<4I", 0x6A09E667, 1, 0xFFFFFFFF, command) + \
        (b"" if argument is None else struct.pack("<I", argument))
