"""Mutation testing, run by mutants.sh. Works in copies below build/mutants: `tree` holds the sources, `obj` the build
without a mutant. Each mutant compiles only what includes the mutated file, and links it in place of the unmutated objects."""
import hashlib
import json
import os
import pathlib
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from concurrent.futures import ThreadPoolExecutor

ROOT = pathlib.Path(__file__).resolve().parents[1]
WORK = ROOT / "build" / "mutants"
TREE, OBJ, NEW = WORK / "tree", WORK / "obj", WORK / "new"
JOBS = int(os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL") or os.cpu_count())
# The product's seam to Linux is no product, and what only Windows compiles is not seen here.
LEFT_OUT = ("src/cl/os/posix/", "src/contracts/")

SWAPS = [(" == ", " != "), (" != ", " == "), (" < ", " <= "), (" <= ", " < "), (" > ", " >= "), (" >= ", " > "),
         (" && ", " || "), (" || ", " && "), (" + ", " - "), (" - ", " + "), (" += ", " -= "), (" -= ", " += "),
         (" * ", " + "), (" / ", " * "), (" % ", " / "), (" << ", " >> "), (" >> ", " << "), (" & ", " | "),
         (" | ", " & "), ("++", "--"), ("--", "++")]
WORDS = {"true": "false", "false": "true"}
NUMBER = re.compile(r"(?<![\w.'])(0[xX][0-9a-fA-F]+|\d+)([uUlLzZ]*)(?![\w.'])")
CALL = re.compile(r"^(?!return\b|delete\b|throw\b|using\b|static_assert\b|if\b|for\b|while\b|switch\b|co_)"
                  r"[A-Za-z_][\w:.]*(?:(?:->|\.|\[[^\]]*\])[\w:.]*)*\(.*\);$")
ASSIGNMENT = re.compile(r"^[*]?[A-Za-z_][\w:.]*(?:(?:->|\.|\[[^\]]*\])[\w:.]*)* (?:[-+*/|&^]|<<|>>)?= .*;$")
STEP = re.compile(r"^(?:\+\+|--)[\w.>-]+;$|^[\w.>-]+(?:\+\+|--);$|^(?:break|continue|return);$")


def blanked(text):
    """The text with comments, literals and preprocessor lines made blank, position by position."""
    def blank(match):
        return re.sub(r"[^\n]", " ", match[0])
    return re.sub(r'//[^\n]*|/\*.*?\*/|L?u?8?R"(\w*)\(.*?\)\1"|"(?:[^"\\\n]|\\.)*"|' r"(?<!\w)L?u?'(?:[^'\\\n]|\\.)+'|"
                  r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", blank, text, flags=re.S | re.M)


def closing(code, start):
    """The position of the bracket that closes the one at start, or -1."""
    depth = 0
    for i in range(start, len(code)):
        depth += (code[i] == "(") - (code[i] == ")")
        if depth == 0:
            return i
    return -1


def variants(line, code, before):
    """All mutants of one line; code is the line made blank, before the last line of code above it."""
    found = []
    stripped = code.strip()
    if stripped.startswith(("static_assert", "template", "using", "namespace", "typedef", "friend", "virtual", "VFL_CHECK")):
        return found
    for old, new in SWAPS:
        for at in (m.start() for m in re.finditer(re.escape(old), code)):
            found.append(line[:at] + new + line[at + len(old):])
    for match in re.finditer(r"\b(?:true|false)\b", code):
        found.append(line[:match.start()] + WORDS[match[0]] + line[match.end():])
    for match in NUMBER.finditer(code):
        value = int(match[1], 16) if match[1][:2] in ("0x", "0X") else int(match[1])
        for other in (value + 1, value - 1) if value else (1,):
            text = f"0x{other:x}" if match[1][:2] in ("0x", "0X") else str(other)
            found.append(line[:match.start()] + text + match[2] + line[match.end():])
    for match in re.finditer(r"\b(?:if|while) (\()", code):
        end = closing(code, match.start(1))
        if end > 0 and ";" not in code[match.start(1):end]:
            at = match.end(1)
            found.append(line[:at] + "!(" + line[at:end] + ")" + line[end:])
    if re.search(r"[;{}:]$|\)$|\belse$|^$", before) and stripped.count("(") == stripped.count(")") and (
            CALL.match(stripped) or ASSIGNMENT.match(stripped) or STEP.match(stripped)):
        found.append(line[:len(line) - len(line.lstrip())] + ";")
    return found


def candidates(files, seed):
    """One mutant for each line that has any, in the order of the seed. Neither a file's folder nor what other lines say
    has a part in the order."""
    result = []
    for name in files:
        text = (ROOT / name).read_text()
        lines, codes = text.split("\n"), blanked(text).split("\n")
        before, seen = "", {}
        for number, (line, code) in enumerate(zip(lines, codes)):
            if code.strip():
                choices = variants(line, code, before)
                before = code.rstrip()
                again = seen[line.strip()] = seen.get(line.strip(), 0) + 1
                if choices:
                    key = hashlib.sha256(f"{seed} {pathlib.Path(name).name} {line.strip()} {again}".encode()).digest()
                    after = choices[int.from_bytes(key[:8], "big") % len(choices)]
                    result.append((key, name, number + 1, line, after))
    return [c[1:] for c in sorted(result)]


def from_list(path, files):
    """Mutants of an earlier run: a line counts as the same with the same text, in the file of the same name, or where
    only one file has it."""
    where = {}
    for name in files:
        for number, line in enumerate((ROOT / name).read_text().split("\n")):
            where.setdefault(line.strip(), []).append((name, number + 1, line))
    for row in path.read_text().split("\n"):
        fields = row.split("\t")
        if len(fields) < 4:
            continue
        name, _, number = fields[1].rpartition(":")
        found = where.get(fields[2], [])
        same = [f for f in found if pathlib.Path(f[0]).name == pathlib.Path(name).name]
        found = same or (found if len(found) == 1 else [])
        if found:
            file, at, line = min(found, key=lambda f: abs(f[1] - int(number)))
            yield file, at, line, line[:len(line) - len(line.lstrip())] + fields[3]
        else:
            yield name, int(number), None, fields[3]


def run(command, seconds=None, cpu=None, **more):
    """Exit code (None: a limit was met) and output. What the command started ends with it."""
    def limits():
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        if cpu:
            resource.setrlimit(resource.RLIMIT_CPU, (cpu, cpu + 2))
            resource.setrlimit(resource.RLIMIT_AS, (4 << 30, 4 << 30))
            resource.setrlimit(resource.RLIMIT_FSIZE, (256 << 20, 256 << 20))
    with tempfile.TemporaryFile() as out:
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=out, stderr=subprocess.STDOUT,
                                   start_new_session=True, preexec_fn=limits, **more)
        try:
            code = process.wait(seconds)
        except subprocess.TimeoutExpired:
            code = None
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        process.wait()
        out.seek(0)
        return code, out.read().decode(errors="replace")


def must(command, **more):
    code, out = run(command, **more)
    if code != 0:
        sys.exit(f"{out[-4000:]}\nerror: {' '.join(map(str, command))[:200]} failed")
    return out


class unit_tests:
    """The unmutated build, how to build a mutant of it, and its tests by room."""

    def __init__(self):
        self.copy_tree()
        if not (OBJ / "build.ninja").exists():
            linker = next((f"-fuse-ld={n}" for n in ("lld", "gold") if shutil.which("ld." + n)), "")
            must(["cmake", "-S", TREE, "-B", OBJ, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_C_COMPILER=clang",
                  "-DCMAKE_CXX_COMPILER=clang++", "-DCMAKE_CXX_FLAGS_DEBUG=-O0 -w -D_GLIBCXX_ASSERTIONS",
                  "-DCMAKE_C_FLAGS_DEBUG=-O0 -w", f"-DCMAKE_EXE_LINKER_FLAGS={linker}"])
        targets = re.findall(r"^(tests/unit_tests\w*): ", must(["ninja", "-C", OBJ, "-t", "targets", "all"]), re.M)
        self.exes = sorted(t for t in targets if "EXECUTABLE" in must(["ninja", "-C", OBJ, "-t", "query", t]))
        print("building", *self.exes, file=sys.stderr)
        must(["ninja", "-C", OBJ, f"-j{JOBS}", *self.exes])
        self.links = {e: must(["ninja", "-C", OBJ, "-t", "commands", e]).splitlines()[-1] for e in self.exes}
        self.compiles, self.users, self.archive_of = {}, {}, {}
        for entry in json.loads((OBJ / "compile_commands.json").read_text()):
            output = os.path.relpath(os.path.join(entry["directory"], entry["output"]), OBJ) if "output" in entry \
                else re.search(r" -o (\S+)", entry["command"])[1]
            self.compiles[output] = entry["command"]
        self.read_dependencies()
        self.time_tests()

    def copy_tree(self):
        """Copies what has changed, and keeps the time of what has not."""
        names = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, capture_output=True,
                               text=True, check=True).stdout.split("\n")
        names = {n for n in names if n and (ROOT / n).is_file()}
        for old in [p for p in TREE.rglob("*") if p.is_file() and str(p.relative_to(TREE)) not in names]:
            old.unlink()
        for name in names:
            target, data = TREE / name, (ROOT / name).read_bytes()
            if not target.is_file() or target.read_bytes() != data:
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(ROOT / name, target)

    def read_dependencies(self):
        wanted = set()
        for line in self.links.values():
            for word in shlex.split(line):
                if word.endswith(".a") and (OBJ / word).exists():
                    for member in must(["ninja", "-C", OBJ, "-t", "query", word]).splitlines():
                        if member.strip().endswith(".o"):
                            self.archive_of[member.strip()] = word
                            wanted.add(member.strip())
                elif word.endswith(".o"):
                    wanted.add(word)
        for block in must(["ninja", "-C", OBJ, "-t", "deps"]).split("\n\n"):
            lines = block.split("\n")
            output = lines[0].partition(":")[0]
            for name in lines[1:] if output in wanted else ():
                path = os.path.normpath(os.path.join(OBJ, name.strip()))
                if path.startswith(f"{TREE}/src/"):
                    self.users.setdefault(os.path.relpath(path, TREE), []).append(output)
        self.files = sorted(f for f in self.users if not f.startswith(LEFT_OUT))

    def time_tests(self):
        """Which suites belong to which room, and what a run without a mutant takes."""
        self.suites, self.limits = {}, {}
        for exe in self.exes:
            must([OBJ / exe, "--gtest_list_tests", f"--gtest_output=json:{WORK}/tests.json"])
            for suite in json.loads((WORK / "tests.json").read_text())["testsuites"]:
                for test in suite["testsuite"]:
                    room = os.path.relpath(os.path.dirname(test["file"]), TREE / "tests")
                    self.suites.setdefault((exe, room), set()).add(suite["name"])
            start, before = time.monotonic(), resource.getrusage(resource.RUSAGE_CHILDREN)
            code, out = self.test(OBJ / exe, "*", 600, 600)
            if code != 0:
                sys.exit(f"{out[-4000:]}\nerror: {exe} fails without a mutant")
            after = resource.getrusage(resource.RUSAGE_CHILDREN)
            cpu = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
            # Wall time is generous, since the machine may be busy; a loop without an end meets the processor's limit.
            self.limits[exe] = (60 + 10 * (time.monotonic() - start), 10 + int(4 * cpu))
            print(f"{exe}: {time.monotonic() - start:.1f} s", file=sys.stderr)

    def test(self, exe, tests, seconds, cpu):
        folder = tempfile.mkdtemp(dir=WORK)
        try:
            return run([exe, "--gtest_fail_fast", "--gtest_brief=1", f"--gtest_filter={tests}"], seconds, cpu,
                       cwd=folder, env=dict(os.environ, TZ="XYZ-3", TMPDIR=folder))
        finally:
            shutil.rmtree(folder, ignore_errors=True)

    def build(self, name):
        """Builds what uses the file as it is now. False: it doesn't compile."""
        shutil.rmtree(NEW, ignore_errors=True)
        NEW.mkdir()

        def compile_one(output):
            target = NEW / output
            target.parent.mkdir(parents=True, exist_ok=True)
            words = shlex.split(self.compiles[output])
            words[words.index("-o") + 1] = str(target)
            return run(words, 600, cwd=OBJ)[0] == 0
        with ThreadPoolExecutor(JOBS) as pool:
            if not all(pool.map(compile_one, self.users[name])):
                return False
        for archive in {self.archive_of[o] for o in self.users[name] if o in self.archive_of}:
            (NEW / archive).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(OBJ / archive, NEW / archive)
            for output in self.users[name]:
                if self.archive_of.get(output) == archive:
                    must(["ar", "r", NEW / archive, NEW / output])
        for exe, line in self.links.items():
            (NEW / exe).parent.mkdir(parents=True, exist_ok=True)
            words = [str(NEW / w) if not w.startswith("-") and (NEW / w).is_file() else w for w in shlex.split(line)]
            words[words.index("-o") + 1] = str(NEW / exe)
            words = words[words.index("&&") + 1:] if "&&" in words else words
            words = words[:words.index("&&")] if "&&" in words else words
            if run(words, 600, cwd=OBJ)[0] != 0:
                return False
        return True

    def killer(self, name):
        """What noticed the mutant, or None. The tests of its own room come first."""
        room = os.path.dirname(os.path.relpath(name, "src"))
        for own in (True, False):
            for exe in self.exes:
                suites = ":".join(sorted(f"{s}.*" for s in self.suites.get((exe, room), ())))
                if own and not suites:
                    continue
                code, out = self.test(NEW / exe, suites if own else f"*-{suites}", *self.limits[exe])
                if code is None or code == -signal.SIGXCPU:
                    return "time"
                if code != 0:
                    failed = re.search(r"^\[  FAILED  \] ([\w./]+)", out, re.M)
                    return failed[1] if failed else f"exit code {code}"
        return None


def main():
    arguments = sys.argv[1:]
    listed = pathlib.Path(arguments[1]).resolve() if arguments[:1] == ["--list"] and len(arguments) == 2 else None
    if not listed and not (len(arguments) <= 2 and all(a.isdigit() for a in arguments)):
        sys.exit("usage: scripts/mutants.sh [N] [SEED], or scripts/mutants.sh --list FILE")
    wanted, seed = (list(map(int, arguments)) + [50, 1][len(arguments):]) if not listed else (None, None)
    WORK.mkdir(parents=True, exist_ok=True)
    tests = unit_tests()
    mutants = from_list(listed, tests.files) if listed else candidates(tests.files, seed)
    killed = survived = gone = 0
    with open(WORK / "list.tsv", "w") as log:
        for name, number, before, after in mutants:
            if killed + survived == wanted:
                break
            if before is None:
                gone += 1
                print(f"{name}:{number}: no such line any more")
                continue
            file = TREE / name
            text, times = file.read_text(), file.stat()
            lines = text.split("\n")
            lines[number - 1] = after
            try:
                file.write_text("\n".join(lines))
                built = tests.build(name)
            finally:
                file.write_text(text)
                os.utime(file, ns=(times.st_atime_ns, times.st_mtime_ns))
            killer = tests.killer(name) if built else "compiler"
            if built and killer:
                killed += 1
            elif built:
                survived += 1
                print(f"survivor {name}:{number}\n  - {before.strip()}\n  + {after.strip()}", flush=True)
            elif listed:
                gone += 1
                print(f"{name}:{number}: no longer compiles with {after.strip()}")
            print(f"{killer or 'SURVIVED'}\t{name}:{number}\t{before.strip()}\t{after.strip()}", file=log, flush=True)
            print(f"[{killed + survived}] {name}:{number} {killer or 'survived'}", file=sys.stderr)
    more = f", {gone} not there" if gone else ""
    print(f"{killed} killed of {killed + survived}{more}")


main()
