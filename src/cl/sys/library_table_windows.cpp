#include "cl/sys/library_table.hpp"

#include <windows.h>

namespace cl {

namespace {

// MAX_PATH and a terminator.
constexpr UINT folder_chars = 261;

std::wstring folder(UINT(WINAPI* query)(LPWSTR, UINT)) {
    wchar_t text[folder_chars];
    const UINT length = query(text, folder_chars);
    return length < folder_chars ? std::wstring(text, length) : std::wstring();
}

} // namespace

constinit const module_calls windows_modules{
    [](const wchar_t* path) -> module_handle { return LoadLibraryW(path); },
    [](module_handle module) { FreeLibrary(static_cast<HMODULE>(module)); },
    [](module_handle module, const char* function) {
        return reinterpret_cast<entry_point>(
            reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), function)));
    },
    [] { return folder(GetSystemDirectoryW); },
    [] { return folder(GetWindowsDirectoryW); },
    [] { return std::uint32_t{GetLastError()}; },
    // Looks for the library's imports in its own folder instead of the program's.
    [](const wchar_t* path) -> module_handle {
        return LoadLibraryExW(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    },
};

} // namespace cl
