#!/usr/bin/env bash
# Non-blank lines of code per room, beside its tests. tests/ is compared with src/; fakes, sim, fuzz and bench are
# counted apart.
. "$(dirname "$0")/lib.sh"
cd "$ROOT" || exit 2
lines() { # PATH [EXCLUDE]: non-blank lines of code below it
    git ls-files "$1" | grep -E '\.(cpp|hpp|c|h|py|sh)$' | { [ -n "${2:-}" ] && grep -v "$2" || cat; } |
        xargs -r cat | grep -cvE '^\s*$'
}
printf '%-22s %7s %7s\n' room code tests
for room in cl/os cl/format cl/file cl/sys cl/trace cl/time cl/ini cl/wifi driver connview host; do
    printf '%-22s %7d %7d\n' "$room" "$(lines "src/$room")" "$(lines "tests/$room")"
done
code=$(lines src) tests=$(lines tests '^tests/fakes/')
printf '%-22s %7d %7d   tests/code %d %%\n' "src, tests" "$code" "$tests" $((code ? tests * 100 / code : 0))
for other in tests/fakes tests/e2e sim fuzz bench; do printf '%-22s %7d\n' "$other" "$(lines "$other")"; done
