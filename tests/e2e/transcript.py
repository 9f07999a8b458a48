"""Cases as text: the files of cases/. A case begins with "# NAME"; each further line is a word and its text:

    order TEXT    a command to the stand-in driver, which has to accept it
    vfl TEXT      runs vfl.exe with TEXT, blanks and all, behind the program's name on the command line
    line TEXT     runs it with TEXT as its whole command line
  and what is expected of the run above; what isn't said has to be empty, and the exit code 0:
    out TEXT      a line on standard output; with "out- TEXT" the text without a line's end
    err TEXT      the same on standard error
    exit CODE
    text TEXT     the driver received this text command; without a TEXT an empty one
    bin N SIZE    it received binary command N with a reply buffer of SIZE bytes
  and directly below the name, about the whole case:
    each A | B    it runs once after each of these orders
    requests      what a run prints doesn't matter

Python's escapes stand for what the file can't show; "\\{60*abc}" is a text sixty times. ";;" begins
a line of remarks."""
import codecs
import re
import unittest

from harness import BIN_IOCTL, TEXT_IOCTL, Run, bin_request, order, received

BIN_ARGUMENT = {5: 0}  # the view's command has one
RUNS = ("vfl", "line")


def plain(text):
    text = re.sub(r"\\\{(\d+)\*(.*?)\}", lambda m: int(m[1]) * m[2], text)
    return re.sub(r"\\(u[0-9a-fA-F]{4}|x[0-9a-fA-F]{2}|.)", lambda m: codecs.decode(m[0], "unicode_escape"), text)


def cases(path):
    """(name, [(number of the line, word, text)]) of each case."""
    found = []
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        word, _, text = line.partition(" ")
        if line.startswith("#"):
            found.append((text, []))
        elif word and word != ";;":
            found[-1][1].append((number, word, plain(text)))
    return found


def got(request):
    if request.code == TEXT_IOCTL:
        return "text", request.input.decode("utf-16-le", "surrogatepass"), request.out_size
    for number in range(16):
        if request.input == bin_request(number, BIN_ARGUMENT.get(number)):
            return "bin", f"{number} {request.out_size}", None
    return "unknown", request.input.hex(), request.out_size


def check(test, place, word, text, expectations, requests_only):
    """One run and what is expected of it."""
    streams, code, requests = {"out": "", "err": ""}, 0, []
    for kind, wanted in expectations:
        if kind.removesuffix("-") in streams:
            streams[kind.removesuffix("-")] += wanted + ("" if kind.endswith("-") else "\r\n")
        elif kind == "exit":
            code = int(wanted)
        elif kind == "text":
            units = wanted.encode("utf-16-le", "surrogatepass")  # the halves of a pair meet
            requests.append(("text", units.decode("utf-16-le", "surrogatepass"), 0x200000))
        elif kind == "bin":
            requests.append(("bin", wanted, None))
        else:
            raise ValueError(f"{place}: what is {kind}?")
    order("log clear")
    run = Run(" " + text if text else "") if word == "vfl" else Run(program=text)
    with test.subTest(place):
        test.assertEqual(run.code, code)
        if not requests_only:
            test.assertEqual((run.out.decode("latin-1"), run.err.decode("latin-1")), tuple(streams.values()))
        if requests:
            test.assertEqual([got(r) for r in received()], requests)


def play(test, path, lines):
    each, requests_only = [None], False
    while lines and lines[0][1] in ("each", "requests"):
        (_, word, text), *lines = lines
        requests_only = requests_only or word == "requests"
        each = text.split(" | ") if word == "each" else each
    for first in each:
        if first:
            order("reset", first)
        at = 0
        while at < len(lines):
            number, word, text = lines[at]
            at += 1
            if word == "order":
                order(text)
                continue
            if word not in RUNS:
                raise ValueError(f"{path.name}:{number}: {word} without a run")
            begin = at
            while at < len(lines) and lines[at][1] not in (*RUNS, "order"):
                at += 1
            place = f"{path.name}:{number} {text[:40]!r} {first or ''}"
            check(test, place, word, text, [line[1:] for line in lines[begin:at]], requests_only)


def suite(path):
    """The cases of a file as tests."""
    def method(lines):
        return lambda self: play(self, path, lines)
    names = {"test_" + name.replace(" ", "_"): method(lines) for name, lines in cases(path)}
    return unittest.defaultTestLoader.loadTestsFromTestCase(type(path.stem, (unittest.TestCase,), names))
