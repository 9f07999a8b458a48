#!/usr/bin/env bash
# trace_bench.sh [FOLDER]: the log beside spdlog. FOLDER should lie in memory. Each case runs three times, because the
# tails follow what else the machine does. About two minutes.
. "$(dirname "$0")/../scripts/lib.sh"
need_packages valgrind libbenchmark-dev libfmt-dev libspdlog-dev
build_preset native trace_bench || exit 1
bench=$ROOT/build/native/bench/trace_bench
folder=$(mktemp -d -p "${1:-/dev/shm}")
trap 'rm -rf "$folder"' EXIT

echo "== instructions of a caller's line between flushes, without the reading of the local time"
valgrind --tool=callgrind --callgrind-out-file="$folder/cg" --toggle-collect='cl::file_trace::write(char const*, bool)' \
    "$bench" count 100000 >"$folder/log" 2>&1 || { cat "$folder/log"; exit 1; }
callgrind_annotate --inclusive=yes "$folder/cg" | awk '
    { gsub(",", "", $1) } /PROGRAM TOTALS/ { total = $1 } /cl::os::now_local/ && !clock { clock = $1 }
    END { printf "%.0f (and %.0f for the time)\n", (total - clock) / 100000, clock / 100000 }'

for threads in 1 4; do
    echo "== paced: 20 lines, 0.3 ms pause, $threads threads"
    for kind in ours64 ours128 sync async; do
        for _ in 1 2 3; do "$bench" $kind paced $threads $((200000 / threads)) "$folder"; done
    done
done
for threads in 1 4; do
    echo "== flat out, $threads threads"
    for kind in ours64 ours128 sync async; do
        for _ in 1 2 3; do "$bench" $kind flat $threads $((2000000 / threads)) "$folder"; done
    done
done
