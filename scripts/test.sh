#!/usr/bin/env bash
# test.sh [--all] [PART...]: builds and runs the tests; without arguments everything. Ends with 'N passed, N failed'.
# Parts: asan, tsan, native (unit tests on Linux), windows-debug (unit tests under Wine), windows (end-to-end tests of
# the product under Wine), checks (scripts/checks). --all checks anew what has passed and hasn't changed since.
. "$(dirname "$0")/lib.sh"
cd "$ROOT" || exit 2
[ "${1-}" = --all ] && { export VFL_ALL=1; shift; }
begun=$SECONDS
need_packages
parts=${*:-checks asan tsan windows-debug windows}
results=$ROOT/build/results
rm -rf "$results"; mkdir -p "$results"
find "$VFL_CHECKED_FOLDER" -type f -mtime +60 -delete 2>/dev/null

# count LOG STATUS NAME STARTED: notes what a runner printed; a runner that died without a failed test counts as one.
count() {
    local p f
    p=$(tr -d '\r' <"$1" | awk '/^\[  PASSED  \] [0-9]+ test/ {n += $4} /^[0-9]+ passed, [0-9]+ failed/ {n += $1} END {print n + 0}')
    f=$(tr -d '\r' <"$1" | awk '/^ *[0-9]+ FAILED TEST/ {n += $1} /^[0-9]+ passed, [0-9]+ failed/ {n += $3} END {print n + 0}')
    [ "$2" -ne 0 ] && [ "$f" -eq 0 ] && { f=1; say "$3 ended with exit code $2"; }
    [ "$2" -eq 0 ] && [ "$p" -eq 0 ] && { f=1; say "$3 ran no test"; }
    if [ "$f" -ne 0 ]; then
        tr -d '\r' <"$1" | grep -vE '^\[ +(OK|RUN) +\]|^\[-+\]' | tail -n 120 >&2
    fi
    echo "$p $f" >>"$results/counts"
    say "$(printf '%-34s %5d passed %5d failed %4d s' "$3" "$p" "$f" $((SECONDS - $4)))"
}

# run NAME COMMAND...: one runner, its output kept below build/results.
run() {
    local name=$1 log=$results/${1//[^a-z0-9_-]/_}.log started=$SECONDS
    shift
    "$@" </dev/null >"$log" 2>&1
    count "$log" $? "$name" "$started"
}

# Building takes both processors; it counts when it fails.
build() {
    local started=$SECONDS
    build_preset "$@" || { echo "0 1" >>"$results/counts"; touch "$results/unbuilt-$1"; }
    say "$(printf '%-57s %4d s' "build $1" $((SECONDS - started)))"
}
built() { [ ! -e "$results/unbuilt-$1" ]; }

native_part() { # PRESET
    for exe in build/"$1"/tests/unit_tests*; do
        [ -f "$exe" ] && [ -x "$exe" ] && TZ=XYZ-3 run "$1 ${exe##*/}" timeout 900 "$exe"
    done
    # The inputs that the fuzzers start from.
    for exe in build/"$1"/fuzz/replay_*; do
        [ -f "$exe" ] && [ -x "$exe" ] && run "$1 ${exe##*/}" timeout 300 "$exe" "fuzz/seeds/${exe##*replay_}"
    done
}

wine_part() { # PRESET
    case $1 in
    windows) run "windows end-to-end" tests/e2e/run ;;
    *)
        for exe in build/"$1"/tests/unit_tests*.exe; do
            TZ=XYZ-3 VFL_WINE_TIMEOUT=900 run "$1 $(basename "$exe" .exe)" scripts/wine_run.sh "$exe"
        done ;;
    esac
}

# The checks look into two builds.
for preset in $(printf '%s\n' ${parts//checks/asan windows} | awk '!seen[$0]++'); do build "$preset"; done
# What runs under Wine waits for most of its time, so it runs beside the rest.
{
    for part in $parts; do
        case $part in windows*) built "$part" && wine_part "$part" ;; esac
    done
} &
for part in $parts; do
    case $part in
    checks) for check in scripts/checks/*; do run "check $(basename "$check")" "$check"; done ;;
    windows*) ;;
    *) built "$part" && native_part "$part" ;;
    esac
done
wait

# Ends the daemons of the test prefix; the demo's stay.
wine_env
WINEPREFIX=$ROOT/build/wine/test wine_down
say "total $(((SECONDS - begun) / 60)) min $(((SECONDS - begun) % 60)) s"
awk '{p += $1; f += $2} END {printf "%d passed, %d failed\n", p, f; exit f > 0 || p == 0}' "$results/counts"
