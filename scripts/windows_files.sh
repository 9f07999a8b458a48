# Sourced behind lib.sh by the checks: the files that only the cross compiler builds, and how Clang reads them.
cd "$ROOT" || exit 2
headers=/usr/lib/gcc/x86_64-w64-mingw32/12-posix/include/c++
windows_flags=(--target=x86_64-w64-windows-gnu -std=c++20 -isystem "$headers" -isystem "$headers/x86_64-w64-mingw32"
    -Isrc -Ibuild/windows/generated -isystem build/windows/generated/headers -DUNICODE -D_UNICODE -DWIN32_LEAN_AND_MEAN -DNOMINMAX
    -D_WIN32_WINNT=0x0601 -DWINVER=0x0601)
mapfile -t windows_files < <(git ls-files 'src/*_windows.cpp' 'src/cl/os/windows/*.cpp'
    printf '%s\n' src/{host,ctl}/{main,process_objects}.cpp)
[ ${#windows_files[@]} -gt 0 ] || die "no list of Windows files"
