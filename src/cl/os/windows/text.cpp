#include "cl/os/text.hpp"

#include <climits>
#include <windows.h>

namespace cl::os {

namespace {

// Where the ANSI code page is UTF-8 the system refuses every conversion flag.
bool is_utf8(std::uint32_t cp) {
    return cp == CP_UTF8 || (cp == CP_ACP && GetACP() == CP_UTF8);
}

} // namespace

std::size_t to_utf16(std::uint32_t cp, const char* src, std::size_t n, wchar_t* dst, std::size_t cap) {
    if (n == 0 || n > INT_MAX || cap > INT_MAX)
        return 0;
    const int got = MultiByteToWideChar(cp, is_utf8(cp) ? 0 : MB_PRECOMPOSED, src, static_cast<int>(n), dst,
                                        static_cast<int>(cap));
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

std::size_t from_utf16(std::uint32_t cp, const wchar_t* src, std::size_t n, char* dst, std::size_t cap) {
    if (n == 0 || n > INT_MAX || cap > INT_MAX)
        return 0;
    const int got = WideCharToMultiByte(cp, is_utf8(cp) ? 0 : WC_COMPOSITECHECK, src, static_cast<int>(n),
                                        dst, static_cast<int>(cap), nullptr, nullptr);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

void ansi_to_oem(const char* src, char* dst) {
    CharToOemBuffA(src, dst, static_cast<DWORD>(lstrlenA(src)) + 1);
}

} // namespace cl::os
