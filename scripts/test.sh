#!/usr/bin/env bash
# test.sh [PRESET...]: builds and runs the tests; without arguments everything. Ends with 'N passed, N failed'.
# Presets: asan, tsan, native (unit tests on Linux), windows-debug (unit tests under Wine), windows (end-to-end tests
# of the product under Wine), checks (format, includes, warnings, objects).
. "$(dirname "$0")/lib.sh"
cd "$ROOT" || exit 2
need_packages
presets=${*:-checks asan tsan windows-debug windows}
results=$ROOT/build/results
rm -rf "$results"; mkdir -p "$results"
passed=0 failed=0

# count LOG STATUS NAME: adds up what a runner printed; a runner that died without a failed test counts as one.
count() {
    local p f
    p=$(tr -d '\r' <"$1" | awk '/^\[  PASSED  \] [0-9]+ test/ {n += $4} /^[0-9]+ passed, [0-9]+ failed/ {n += $1} END {print n + 0}')
    f=$(tr -d '\r' <"$1" | awk '/^ *[0-9]+ FAILED TEST/ {n += $1} /^[0-9]+ passed, [0-9]+ failed/ {n += $3} END {print n + 0}')
    [ "$2" -ne 0 ] && [ "$f" -eq 0 ] && { f=1; say "$3 ended with exit code $2"; }
    [ "$2" -eq 0 ] && [ "$p" -eq 0 ] && { f=1; say "$3 ran no test"; }
    if [ "$f" -ne 0 ]; then
        tr -d '\r' <"$1" | grep -vE '^\[ +(OK|RUN) +\]|^\[-+\]' | tail -n 120 >&2
    fi
    passed=$((passed + p)) failed=$((failed + f))
    say "$(printf '%-34s %5d passed %5d failed %4d s' "$3" "$p" "$f" "$(($(date +%s) - started))")"
}

# run NAME COMMAND...: one runner, its output kept below build/results.
run() {
    local name=$1 log=$results/${1//[^a-z0-9_-]/_}.log
    shift
    started=$(date +%s)
    "$@" </dev/null >"$log" 2>&1
    count "$log" $? "$name"
}

for preset in $presets; do
    case $preset in
    checks)
        for check in scripts/checks/*; do run "check $(basename "$check")" "$check"; done ;;
    windows-debug)
        if build_preset windows-debug; then
            for exe in unit_tests_real unit_tests_fake; do
                TZ=XYZ-3 run "windows-debug $exe" scripts/wine_run.sh "build/windows-debug/tests/$exe.exe"
            done
        else failed=$((failed + 1)); fi ;;
    windows)
        if build_preset windows; then
            run "windows end-to-end" tests/e2e/run
        else failed=$((failed + 1)); fi ;;
    *)
        if build_preset "$preset"; then
            for exe in unit_tests_real unit_tests_fake; do
                TZ=XYZ-3 run "$preset $exe" timeout 300 "build/$preset/tests/$exe"
            done
            # The inputs that the fuzzers start from.
            if [ "$preset" = asan ]; then
                for seeds in fuzz/seeds/*; do
                    name=$(basename "$seeds")
                    run "asan replay_$name" timeout 60 "build/asan/fuzz/replay_$name" "$seeds"
                done
            fi
        else failed=$((failed + 1)); fi ;;
    esac
done

# Ends the daemons of the test prefix; the demo's stay.
wine_env
WINEPREFIX=$ROOT/build/wine/test wine_down
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
