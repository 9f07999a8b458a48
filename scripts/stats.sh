#!/usr/bin/env bash
# Non-blank lines of code per room, beside its tests; then the sums. Everything below tests/ counts as tests, the rows
# of its tables apart; sim, fuzz and bench are neither.
. "$(dirname "$0")/lib.sh"
cd "$ROOT" || exit 2
lines() { # PATH: non-blank lines of code below it
    git ls-files "$1" | grep -E '\.(cpp|hpp|c|h|py|sh)$' | xargs -r cat | grep -cvE '^\s*$'
}
printf '%-22s %7s %7s\n' room code tests
for room in contracts cl/os cl/format cl/text cl/file cl/sys cl/trace cl/time cl/log cl/ini cl/wifi connview driver \
    product host ctl tests/fakes tests/e2e; do
    [ -d "src/$room" ] || [ -d "$room" ] || continue
    printf '%-22s %7d %7d\n' "$room" "$(lines "src/$room")" "$(lines "tests/${room#tests/}")"
done
code=$(lines src) tests=$(lines tests)
printf '%-22s %7d %7d   tests/code %d %%\n' "src, tests" "$code" "$tests" $((tests * 100 / code))
# Facts, texts and formats, without comments and names of columns.
printf '%-22s %7s %7d   of 800 at most\n' "rows of tests/data" "" "$(git ls-files 'tests/data/*.tsv' |
    xargs -r awk 'FNR == 1 {named = 0} /^#/ || /^\s*$/ {next} !named++ {next} {n++} END {print n + 0}')"
for other in sim fuzz bench; do printf '%-22s %7d\n' "$other" "$(lines "$other")"; done
