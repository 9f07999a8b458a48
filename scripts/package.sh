#!/usr/bin/env bash
# package.sh [--unchecked]: builds the product, sees that another folder gives the same bytes and that the developer kit
# works, and makes the packages in build/packages: the installer (.msi), the program as a zip, and its symbols as a zip.
# package.sh VERSION FOLDER: only an installer, under another version and in another folder, for trying an upgrade.
. "$(dirname "$(readlink -f "$0")")/lib.sh"
# shellcheck disable=SC2086
need_packages $PRODUCT_PACKAGES $PACKAGING_PACKAGES
if [ $# -eq 0 ]; then
    need_packages
    for check in reproducible kit; do
        say "Checking: $check"
        VFL_ALL=1 "$ROOT/scripts/checks/$check" >&2 || die "no package: check $check failed"
    done
elif [ "$1" = --unchecked ]; then
    shift
fi
build_preset windows vfl.exe vflctl.exe service_setup.exe || exit 1
cd "$ROOT" || exit 2
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' build/windows/CMakeCache.txt)
[ -n "$version" ] || die "no version in build/windows"
folder=${2:-build/packages}
mkdir -p "$folder"

# What lies in the zips bears the time of the last commit.
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || echo 315532800)}
export SOURCE_DATE_EPOCH

# What an administrator reads: the guide, and the pages that it links to.
admin_docs=(docs/{user-guide,messages,settings-format,log-format,hosted-network,vflctl}.md)
docs=
for doc in "${admin_docs[@]}"; do
    docs+="<File Id=\"$(basename "$doc")\" Name=\"$(basename "$doc")\" Source=\"$doc\"/>"
done
docs=${docs/\/>/ KeyPath=\"yes\"\/>}
# A version is one product, however often it is built.
product=$(uuidgen --sha1 --namespace F456EA33-AC1E-47D5-BAEF-C37A18C1A2F6 --name "${1:-$version}" | tr a-f A-F)
sed -e "s|@VERSION@|${1:-$version}|; s|@PRODUCT@|$product|; s|@EXE@|build/windows/vfl.exe|" \
    -e "s|@CTL@|build/windows/vflctl.exe|" \
    -e "s|@SETUP@|build/windows/packaging/service_setup.exe|; s|@DOCS@|$docs|" packaging/vfl.wxs >"$folder/vfl.wxs"
msi=$folder/vfl-${1:-$version}.msi
rm -f "$msi"
wixl --arch x64 -o "$msi" "$folder/vfl.wxs" >"$folder/wixl.log" 2>&1 || { cat "$folder/wixl.log" >&2; die "wixl failed"; }
# wixl drops what it doesn't know with a message alone.
if grep -q CRITICAL "$folder/wixl.log"; then cat "$folder/wixl.log" >&2; die "wixl left something out"; fi
rm "$folder/vfl.wxs" "$folder/wixl.log"
echo "${msi#"$ROOT"/}"
[ $# -eq 0 ] || exit 0

# zip NAME FILE=NAME_INSIDE...: the same bytes for the same files.
zip() {
    python3 - "$@" <<'P'
import os, sys, time, zipfile
when = max(time.gmtime(int(os.environ["SOURCE_DATE_EPOCH"]))[:6], (1980, 1, 1, 0, 0, 0))
with zipfile.ZipFile(sys.argv[1], "w", zipfile.ZIP_DEFLATED) as archive:
    for word in sys.argv[2:]:
        path, name = word.split("=")
        info = zipfile.ZipInfo(name, when)
        info.compress_type, info.external_attr = zipfile.ZIP_DEFLATED, 0o644 << 16
        with open(path, "rb") as file:
            archive.writestr(info, file.read())
print(sys.argv[1])
P
}
top=vfl-$version
words=()
for doc in "${admin_docs[@]}"; do words+=("$doc=$top/$doc"); done
zip "$folder/$top.zip" "build/windows/vfl.exe=$top/vfl.exe" "build/windows/vflctl.exe=$top/vflctl.exe" \
    "LICENSE=$top/licence.txt" "packaging/notices.txt=$top/notices.txt" "${words[@]}"
zip "$folder/$top-symbols.zip" "build/windows/vfl.exe.debug=$top/vfl.exe.debug" \
    "build/windows/vflctl.exe.debug=$top/vflctl.exe.debug"
