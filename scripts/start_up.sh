#!/usr/bin/env bash
# start_up.sh [RUNS]: what the process-wide objects cost at the start, one by one, in a cold process under Wine.
. "$(dirname "$0")/lib.sh"
# shellcheck disable=SC2086
need_packages $PRODUCT_PACKAGES
build_preset windows start_up.exe || exit 1
wine_prefix test
exe=$ROOT/build/windows/bench/windows/start_up.exe
for _ in $(seq "${1:-3}"); do
    for mode in bare ""; do timeout 60 "$W" "$exe" $mode </dev/null | tr -d '\r'; done
    echo
done
wine_down
