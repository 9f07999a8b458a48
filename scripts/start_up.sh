#!/usr/bin/env bash
# start_up.sh [RUNS]: what the process-wide objects cost at the start, one by one, in a cold process under Wine.
. "$(dirname "$0")/lib.sh"
# shellcheck disable=SC2086
need_packages $PRODUCT_PACKAGES
build_preset windows start_up.exe || exit 1
wine_prefix test
for _ in $(seq "${1:-3}"); do
    timeout 60 "$W" "$ROOT/build/windows/bench/windows/start_up.exe" </dev/null | tr -d '\r'
    echo
done
wine_down
