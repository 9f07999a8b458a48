#!/usr/bin/env bash
# vfl.sh ARGS: runs vfl.exe ARGS under Wine against the stand-in driver. Builds the product first if need be, and
# prepares a Wine prefix with the driver loaded. The output, the exit code and the console are those of vfl.exe;
# what the script itself does it says on standard error, and it exits with 2 when it fails.
# vfl.sh --stop: ends the prefix with the driver in it.
. "$(dirname "$(readlink -f "$0")")/lib.sh"

if [ "${1-}" = --stop ] && [ $# -eq 1 ]; then
    WINEPREFIX=$ROOT/build/wine/demo
    export WINEPREFIX
    wine_env
    if [ -d "$WINEPREFIX" ] && wine_is_up; then
        say "Ending the demo prefix"
        wine_down
    fi
    exit 0
fi

# shellcheck disable=SC2086
need_packages $PRODUCT_PACKAGES
build_preset windows vfl.exe sim/vexaflow.sys || exit 2
wine_prefix demo
load_driver "$ROOT/build/windows/sim/vexaflow.sys"
exec "$W" "$ROOT/build/windows/vfl.exe" "$@"
