#!/usr/bin/env python3
"""kit_consumer FOLDER: writes a program that uses each header of the kit in FOLDER/kit, for scripts/checks/kit. Fails when
a header declares a function or an object that none of the archives defines."""
import pathlib
import re
import subprocess
import sys

folder = pathlib.Path(sys.argv[1])
include = folder / "kit/include/vfl"
headers = sorted(include.rglob("*.h*"))
archives = [str(p) for p in (folder / "kit/lib/vfl").glob("*.a")]
symbols = subprocess.run(["x86_64-w64-mingw32-nm", "-C", "--defined-only", *archives], capture_output=True, text=True,
                         check=True).stdout
defined = set(re.findall(r" [TRBDV] (?:[^(\n]*? )?((?:cl::os|cl|vfl)::\w+)(?=[(\n\[<])", symbols))
declared = 0
for header in headers:
    text = re.sub(r"//.*", "", header.read_text())
    text = re.sub(r"^namespace detail \{.*?^\} // namespace detail|^namespace detail \{.*?^\}$", "", text, flags=re.M | re.S)
    space = (re.findall(r"^namespace (cl::os|cl|vfl) \{", text, re.M) or [""])[0]
    # What stands at the left margin: functions, and objects.
    functions = re.findall(r"^(?:\[\[nodiscard\]\] )?(?!template|inline|constexpr|consteval|static|using|friend|typedef|"
                           r"return|explicit)[\w:<>,*&]+[\w:<>,*& ]*[ *&](\w+)\([^;{}]*\);", text, re.M)
    for name in functions + re.findall(r"^extern [^;(]*?(\w+);", text, re.M):
        if space:
            declared += 1
            if f"{space}::{name}" not in defined:
                sys.exit(f"{header.name} declares {space}::{name}, which no archive defines")
if declared < 20:
    sys.exit(f"only {declared} declarations found")

consumer = folder / "consumer"
consumer.mkdir()
library = include / "library"
lines = [f'#include "{h.relative_to(library if library in h.parents else include)}"\n' for h in headers]
(consumer / "main.cpp").write_text("".join(lines) + """
int main() {
    vfl::connection_map map;
    return vfl::connection_table(map, 0).empty() ? 0 : 1;
}
""")
(consumer / "CMakeLists.txt").write_text("""cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES CXX)
find_package(vfl REQUIRED)
add_executable(consumer main.cpp)
target_link_libraries(consumer PRIVATE -Wl,--whole-archive vfl::connview -Wl,--no-whole-archive)
target_link_options(consumer PRIVATE -static)
""")
print(f"{declared} found")
