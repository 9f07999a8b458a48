# Sourced after lib.sh by the checks: the files that only the cross compiler builds, and how Clang reads them.
cd "$ROOT" || exit 2
headers=/usr/lib/gcc/x86_64-w64-mingw32/12-posix/include/c++
windows_flags=(--target=x86_64-w64-windows-gnu -std=c++20 -isystem "$headers" -isystem "$headers/x86_64-w64-mingw32"
    -Isrc -Ibuild/windows/generated -isystem build/windows/generated/headers -DUNICODE -D_UNICODE
    -DWIN32_LEAN_AND_MEAN -DNOMINMAX -D_WIN32_WINNT=0x0601 -DWINVER=0x0601)
mapfile -t windows_files < <(git ls-files 'src/*_windows.cpp' 'src/cl/os/windows/*.cpp'
    printf '%s\n' src/{host,ctl}/{main,process_objects}.cpp)
[ ${#windows_files[@]} -gt 0 ] || die "no list of Windows files"

# read_anew NAME FILE FLAGS: sets `key` for the file as the preprocessor hands it on, with the flags, the configuration
# and the tool; whether check NAME has not passed with it yet. Comments are part of it, since they may silence a warning;
# paths are not, since checkouts differ in them.
read_anew() {
    local name=$1 file=$2 text
    shift 2
    text=$(clang++ "$@" -E -C -P "$file" 2>/dev/null) || { key=; return 0; }
    key=$name-$(printf '%s\n' "$file" "$*" "$text" "$clang_version" | cat - .clang-tidy | sha256sum | cut -d' ' -f1)
    ! unchanged "$key"
}
clang_version=$(clang++ --version; clang-tidy --version)
export clang_version
export -f read_anew unchanged remember
