#!/usr/bin/env bash
# picture.sh: takes docs/table.svg anew: the table of the stand-in driver's connections, as vfl.exe prints it.
. "$(dirname "$(readlink -f "$0")")/lib.sh"
need_packages python3
# On a terminal of its own: only a console gets all of Unicode.
capture=$(mktemp)
trap 'rm -f "$capture"' EXIT
script -qec "stty cols 240 rows 50; '$ROOT/scripts/vfl.sh' -bincons" "$capture" </dev/null >/dev/null
python3 - "$capture" >"$ROOT/docs/table.svg" <<'P'
import html, re, sys
text = re.sub(r"\x1b\[[?0-9;]*[a-zA-Z]|\r", "", open(sys.argv[1], encoding="utf-8", newline="").read())
lines = ["C:\\>vfl -bincons"] + [line for line in text.split("\n") if line and not line.startswith("Script ")]
width, height = max(map(len, lines)) * 7.25 + 24, len(lines) * 17 + 24
print(f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width:.0f} {height}" font-family="Consolas, Menlo, '
      f'DejaVu Sans Mono, monospace" font-size="12">\n<rect width="100%" height="100%" rx="6" fill="#0c0c0c"/>')
for i, line in enumerate(lines):
    colour = "#f2f2f2" if i == 1 else "#cccccc"
    print(f'<text x="12" y="{28 + 17 * i}" fill="{colour}" xml:space="preserve" textLength="{len(line) * 7.25:.2f}">'
          f"{html.escape(line)}</text>")
print("</svg>")
P
