#!/usr/bin/env bash
# vfl.sh ARGS: runs vfl.exe ARGS under Wine against the stand-in driver. Builds the product first if need be, and
# prepares a Wine prefix with the driver loaded. The output, the exit code and the console are those of vfl.exe;
# what the script itself does it says on standard error, and it exits with 2 when it fails.
# vfl.sh --service install|start|query|stop|log|remove: the same for the service "VexaFlowS", which runs in the prefix
# with the stand-in service library. `log` prints the service's log and the calls that reached the library.
# vfl.sh --ctl ARGS: runs vflctl.exe ARGS in the same prefix.
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
build_preset windows vfl.exe vflctl.exe sim/vexaflow.sys || exit 2
wine_prefix demo
load_driver "$ROOT/build/windows/sim/vexaflow.sys"

# The service: installed in C:\vexa, with its data where the product keeps it.
service() {
    local home=$WINEPREFIX/drive_c/vexa data=$WINEPREFIX/drive_c/ProgramData/Vexa/vexaflow
    case $1 in
    install)
        build_preset windows || exit 2
        mkdir -p "$home"
        cp "$ROOT/build/windows/vfl.exe" "$ROOT/build/windows/sim/service_library/flowsrv.dll" "$home/" ||
            die "the service runs: stop it first"
        wine_quiet reg add 'HKLM\Software\Vexa\vexaflow' /v install_dir /t REG_SZ /d 'C:\vexa' /f >/dev/null
        wine_quiet sc query VexaFlowS >/dev/null ||
            wine_quiet sc create VexaFlowS type= own start= demand binPath= 'C:\vexa\vfl.exe -service' ;;
    start | query | stop) wine_quiet sc "$1" VexaFlowS ;;
    log) tail -n +1 "$data/trace.txt" "$home/flowsrv.log" ;;
    remove) wine_quiet sc delete VexaFlowS ;;
    *) die "usage: vfl.sh --service install|start|query|stop|log|remove" ;;
    esac
}
if [ "${1-}" = --service ]; then
    service "${2-}" | tr -d '\r'
    exit "${PIPESTATUS[0]}"
fi

program=vfl
[ "${1-}" = --ctl ] && { program=vflctl; shift; }
exec "$W" "$ROOT/build/windows/$program.exe" "$@"
