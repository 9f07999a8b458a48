# Sourced by the other scripts: the one package list, building, and the Wine prefixes that tests and demos run in.
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
W=/usr/lib/wine/wine64

# What building and running the product takes, and what the tests and checks take on top.
PRODUCT_PACKAGES="cmake ninja-build ccache gcc-mingw-w64-x86-64-posix g++-mingw-w64-x86-64-posix
    binutils-mingw-w64-x86-64 wine64 wine util-linux rapidjson-dev"
# msitools is for the tests that look into the installer.
PACKAGING_PACKAGES="wixl msitools python3 uuid-runtime"
PACKAGES="$PRODUCT_PACKAGES g++ clang clang-format clang-tidy cppcheck libclang-rt-14-dev googletest libbenchmark-dev libfmt-dev
    libsimpleini-dev libspdlog-dev valgrind python3 $PACKAGING_PACKAGES"

say() { printf '%s\n' "$*" >&2; }
die() { say "error: $*"; exit 2; }

# Installs what is missing of PACKAGES, or of the packages given.
need_packages() {
    local missing=() p installed
    installed=$(dpkg-query -W -f='${Package} ${Status}\n' ${*:-$PACKAGES} 2>/dev/null)
    for p in ${*:-$PACKAGES}; do
        case $'\n'$installed in *$'\n'"$p install ok installed"*) ;; *) missing+=("$p") ;; esac
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    [ "$(id -u)" -eq 0 ] || die "missing packages, install them as root: apt-get install ${missing[*]}"
    say "Installing ${missing[*]}"
    mkdir -p "$ROOT/build"
    local log=$ROOT/build/apt.log
    { apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends \
        "${missing[@]}"; } </dev/null >"$log" 2>&1 || { tail -n 20 "$log" >&2; die "apt-get failed"; }
}

# What passed a check, for all checkouts of this user: an empty file for each, named for what the check read.
export VFL_CHECKED_FOLDER=${XDG_CACHE_HOME:-${HOME:-$ROOT/build}/.cache}/vfl/checked

# unchanged KEY: whether this passed before. VFL_ALL=1 checks anew.
unchanged() { [ -z "${VFL_ALL:-}" ] && [ -e "$VFL_CHECKED_FOLDER/$1" ] && touch "$VFL_CHECKED_FOLDER/$1"; }
remember() { mkdir -p "$VFL_CHECKED_FOLDER" && touch "$VFL_CHECKED_FOLDER/$1"; }

# fingerprint PATH...: one word for the files below these paths and for the tools that read them.
fingerprint() {
    {
        git -C "$ROOT" ls-files -co --exclude-standard -- "$@" | sort | (cd "$ROOT" && xargs -d '\n' sha256sum)
        # shellcheck disable=SC2086
        dpkg-query -W -f='${Package} ${Version}\n' $PACKAGES
    } 2>/dev/null | sha256sum | cut -d' ' -f1
}

# build_preset PRESET [TARGET...]: configures once, builds, and prints only when there is something to do or to say.
# One build at a time in each preset's folder.
build_preset() {
    local preset=$1
    shift
    mkdir -p "$ROOT/build"
    (
        flock 8
        log=$ROOT/build/$preset.log
        if [ ! -f "$ROOT/build/$preset/build.ninja" ]; then
            say "Configuring $preset"
            (cd "$ROOT" && cmake --preset "$preset") >"$log" 2>&1 || { cat "$log" >&2; exit 1; }
        fi
        if ! ninja -C "$ROOT/build/$preset" -n "$@" 2>/dev/null | grep -q 'no work to do'; then
            say "Building $preset"
        fi
        (cd "$ROOT" && cmake --build --preset "$preset" ${*:+--target "$@"}) >"$log" 2>&1 ||
            { grep -E 'error|FAILED|warning|undefined|note:' "$log" | head -n 60 >&2 || tail -n 40 "$log" >&2; exit 1; }
        # Programs that are no longer built would be run for ever.
        ninja -C "$ROOT/build/$preset" -t cleandead >/dev/null
    ) 8>"$ROOT/build/$preset.lock"
}

# The environment of every program that runs under Wine. The code pages follow LC_ALL (windows-1252 and 437).
wine_env() {
    export WINEDEBUG=${WINEDEBUG:--all} LC_ALL=C.UTF-8
    # No mono, no browser, no menus, no desktop; and no crash dialog, which would hide a crash's exit code.
    export WINEDLLOVERRIDES="mscoree=;mshtml=;winemenubuilder.exe=;explorer.exe=;winedbg.exe="
    unset DISPLAY
}

# wine_prefix NAME: sets WINEPREFIX to build/wine/NAME, makes it if it isn't there and starts its daemons.
wine_prefix() {
    local name=$1 dir=$ROOT/build/wine template=$ROOT/build/wine/template
    wine_env
    mkdir -p "$dir"
    export WINEPREFIX=$dir/$name
    exec 9>"$dir/lock"
    flock 9
    if [ ! -d "$WINEPREFIX" ]; then
        if [ ! -d "$template" ]; then
            say "Creating the Wine prefix (once, about 10 s)"
            rm -rf "$template.new"
            WINEPREFIX=$template.new $W wineboot -i </dev/null >/dev/null 2>&1 9>&-
            WINEPREFIX=$template.new wineserver -w 9>&-
            echo disable >"$template.new/.update-timestamp"
            rm -f "$template.new/wineserver"
            [ -f "$template.new/drive_c/windows/system32/kernel32.dll" ] || die "wineboot failed"
            mv "$template.new" "$template"
        fi
        rm -rf "$WINEPREFIX.new"
        cp -a --reflink=auto "$template" "$WINEPREFIX.new"
        mv "$WINEPREFIX.new" "$WINEPREFIX"
    fi
    if ! wine_is_up; then
        say "Starting the Wine prefix '$name'"
        # A persistent server keeps services and drivers loaded between two commands. Everything that it starts
        # inherits its streams and its session, so none of ours may go in: a closed terminal would end the driver.
        # Services keep the time zone of this moment: the machine's, not that of a test.
        env -u TZ wineserver -p </dev/null >/dev/null 2>&1 9>&-
        setsid -w env -u TZ timeout 120 $W wineboot </dev/null >/dev/null 2>&1 9>&-
        # The dispatcher called from a console would wait 10 s for the newest service of a freshly booted prefix.
        timeout 60 $W reg add 'HKLM\System\CurrentControlSet\Control\ServiceCurrent' /ve /t REG_DWORD /d 99999 /f \
            </dev/null >/dev/null 2>&1 9>&-
        touch "$WINEPREFIX/.up"
    fi
    exec 9>&-
}

# Whether the server of WINEPREFIX runs (signal 0 asks).
wine_is_up() { [ -f "$WINEPREFIX/.up" ] && wineserver -k0 >/dev/null 2>&1; }

# wine_down: ends everything in WINEPREFIX.
wine_down() {
    [ -d "$WINEPREFIX" ] || return 0
    wineserver -k >/dev/null 2>&1
    wineserver -w >/dev/null 2>&1
    local d
    d=$(cat "$WINEPREFIX/wineserver" 2>/dev/null)
    case $d in wine-??????) rm -rf "${TMPDIR:-/tmp}/$d"; rm -f "$WINEPREFIX/wineserver";; esac
    rm -f "$WINEPREFIX/.up"
}

# load_driver SYS: loads the stand-in driver into WINEPREFIX; loads it anew when the file has changed.
load_driver() {
    local sys=$1 target=$WINEPREFIX/drive_c/windows/system32/drivers/vexaflow.sys
    exec 9>"$ROOT/build/wine/lock"
    flock 9
    if ! cmp -s "$sys" "$target" || ! wine_quiet sc query vexaflow | grep -q RUNNING; then
        say "Loading the stand-in driver"
        wine_quiet sc stop vexaflow >/dev/null
        cp "$sys" "$target"
        # "binPath=" and its value are two arguments, or the path keeps a leading blank.
        wine_quiet sc create vexaflow type= kernel start= demand \
            binPath= 'C:\windows\system32\drivers\vexaflow.sys' >/dev/null
        wine_quiet sc start vexaflow >/dev/null || die "the stand-in driver did not load"
    fi
    exec 9>&-
}

# wine_quiet PROGRAM ARGS: a short Wine command without our standard input and error.
wine_quiet() { timeout 60 $W "$@" </dev/null 2>/dev/null 9>&- | cat; return "${PIPESTATUS[0]}"; }
