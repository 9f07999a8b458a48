#include "ctl/output.hpp"

#include "cl/os/text.hpp"

#include <algorithm>
#include <windows.h>

namespace vfl::ctl {

constinit bool redirected_utf8 = false;

namespace {

HANDLE handle_of(stream s) {
    return GetStdHandle(s == stream::out ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
}

bool is_console_handle(HANDLE handle) {
    DWORD mode = 0;
    return handle && GetConsoleMode(handle, &mode);
}

void write_all(stream to, std::string_view bytes) {
    const HANDLE handle = handle_of(to);
    if (!handle || handle == INVALID_HANDLE_VALUE)
        return; // a program may be started without streams
    while (!bytes.empty()) {
        DWORD written = 0;
        const auto piece = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), 0x100000));
        if (!WriteFile(handle, bytes.data(), piece, &written, nullptr)) {
            const DWORD error = GetLastError();
            if (error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA || error == ERROR_PIPE_NOT_CONNECTED)
                throw reader_gone{};
            if (to == stream::out && error != ERROR_INVALID_HANDLE)
                throw output_lost{error};
            return; // nobody is left to report to
        }
        bytes.remove_prefix(written);
    }
}

void write_console(HANDLE handle, std::wstring_view text) {
    // Older consoles refuse more than about 64 KB at once.
    while (!text.empty()) {
        std::size_t piece = std::min<std::size_t>(text.size(), 8000);
        if (piece < text.size() && text[piece - 1] >= 0xD800 && text[piece - 1] <= 0xDBFF)
            --piece;
        DWORD written = 0;
        if (!WriteConsoleW(handle, text.data(), static_cast<DWORD>(piece), &written, nullptr) || written == 0)
            return;
        text.remove_prefix(written);
    }
}

WORD attributes_of(colour c, WORD present) {
    const WORD background = present & 0xF0;
    switch (c) {
    case colour::good:
        return background | FOREGROUND_GREEN;
    case colour::warning:
        return background | FOREGROUND_RED | FOREGROUND_GREEN | FOREGROUND_INTENSITY;
    case colour::bad:
        return background | FOREGROUND_RED | FOREGROUND_INTENSITY;
    case colour::dim:
        return background | FOREGROUND_INTENSITY;
    case colour::normal:
        break;
    }
    return present;
}

bool wants_colour() {
    return GetEnvironmentVariableW(L"NO_COLOR", nullptr, 0) == 0;
}

std::string encoded(std::wstring_view text) {
    std::wstring lines;
    lines.reserve(text.size() + 80);
    for (const wchar_t c : text) {
        if (c == L'\n')
            lines += L'\r';
        lines += c;
    }
    // The same in every code page, and most of what there is.
    if (std::ranges::all_of(lines, [](wchar_t c) { return c < 0x80; }))
        return {lines.begin(), lines.end()};
    UINT page = redirected_utf8 ? CP_UTF8 : GetConsoleOutputCP();
    if (page == 0)
        page = GetOEMCP();
    std::string bytes(cl::os::from_utf16(page, lines.data(), lines.size(), nullptr, 0), '\0');
    cl::os::from_utf16(page, lines.data(), lines.size(), bytes.data(), bytes.size());
    return bytes;
}

} // namespace

void standard_output::put(stream to, std::wstring_view text, colour c) {
    const HANDLE handle = handle_of(to);
    if (!is_console_handle(handle)) {
        write_all(to, encoded(text));
        return;
    }
    CONSOLE_SCREEN_BUFFER_INFO info;
    const bool coloured = c != colour::normal && wants_colour() && GetConsoleScreenBufferInfo(handle, &info);
    if (coloured)
        SetConsoleTextAttribute(handle, attributes_of(c, info.wAttributes));
    write_console(handle, text);
    if (coloured)
        SetConsoleTextAttribute(handle, info.wAttributes);
}

void standard_output::put_bytes(std::string_view bytes) {
    write_all(stream::out, bytes);
}

bool standard_output::is_console(stream of, std::size_t& width) {
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!GetConsoleScreenBufferInfo(handle_of(of), &info))
        return false;
    const int columns = info.srWindow.Right - info.srWindow.Left + 1;
    width = static_cast<std::size_t>(columns);
    return true;
}

} // namespace vfl::ctl
