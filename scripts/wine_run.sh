#!/usr/bin/env bash
# wine_run.sh EXE [ARGS]: runs a Windows program in this checkout's test prefix, booting it once. CMake and CTest use
# it as the emulator of the Windows builds. VFL_WINE_TIMEOUT is the limit in seconds.
. "$(dirname "$0")/lib.sh"
wine_prefix "${VFL_WINE_PREFIX:-test}"
exec timeout "${VFL_WINE_TIMEOUT:-300}" "$W" "$@"
