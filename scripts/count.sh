#!/usr/bin/env bash
# scripts/count.sh BENCH [ARGS...]: the instructions that each case of a benchmark of bench/ takes, counted by callgrind.
. "$(dirname "$0")/lib.sh"
[ $# -ge 1 ] || die "usage: scripts/count.sh BENCH"
need_packages valgrind libbenchmark-dev libfmt-dev libsimpleini-dev
build_preset native "$1" || exit 1
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
valgrind --tool=callgrind --instr-atstart=no --callgrind-out-file="$out/c" \
    "$ROOT/build/native/bench/$1" --count "${@:2}" >"$out/log" 2>&1 || { cat "$out/log"; exit 1; }
# Each case is one dump: its name, and what was counted since the dump before it.
for i in $(seq 1 "$(ls "$out" | grep -c '^c\.')"); do
    sed -n 's/^desc: Trigger: Client Request: //p; s/^totals: //p' "$out/c.$i" | paste -sd' '
done | awk '{ printf "%-50s %15s\n", $1, $2 }'
