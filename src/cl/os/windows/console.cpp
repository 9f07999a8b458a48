#include "cl/os/console.hpp"

#include <algorithm>
#include <cstdio>
#include <windows.h>

namespace cl::os {

namespace {

HANDLE native(stream_handle handle) {
    return reinterpret_cast<HANDLE>(handle);
}

// Older consoles refuse a single write of more than about 64 KiB.
constexpr std::size_t console_piece_chars = 8192;

} // namespace

stream_handle standard_handle(std_stream stream) {
    const DWORD id = stream == std_stream::in    ? STD_INPUT_HANDLE
                     : stream == std_stream::out ? STD_OUTPUT_HANDLE
                                                 : STD_ERROR_HANDLE;
    return reinterpret_cast<stream_handle>(GetStdHandle(id));
}

bool is_console(stream_handle handle) {
    DWORD mode = 0;
    return GetConsoleMode(native(handle), &mode) != 0;
}

bool read_screen_info(stream_handle handle, screen_info& info) {
    CONSOLE_SCREEN_BUFFER_INFO i;
    if (!GetConsoleScreenBufferInfo(native(handle), &i))
        return false;
    info = {i.srWindow.Left, i.srWindow.Top, i.dwCursorPosition.X, i.dwCursorPosition.Y, i.wAttributes};
    return true;
}

bool set_cursor(stream_handle handle, std::int16_t x, std::int16_t y) {
    return SetConsoleCursorPosition(native(handle), COORD{x, y}) != 0;
}

bool write_console(stream_handle handle, const wchar_t* text, std::size_t n) {
    while (n > 0) {
        DWORD written = 0;
        auto piece = static_cast<DWORD>(std::min(n, console_piece_chars));
        // The halves of a character stay together.
        if (piece < n && IS_HIGH_SURROGATE(text[piece - 1]))
            --piece;
        if (!WriteConsoleW(native(handle), text, piece, &written, nullptr) || written == 0)
            return false;
        text += written;
        n -= written;
    }
    return true;
}

bool put_stream(std_stream stream, const char* text) {
    std::FILE* const file = stream == std_stream::err ? stderr : stdout;
    const bool put = std::fputs(text, file) != EOF;
    // A pipe takes everything while it has a reader.
    return (std::fflush(file) != EOF && put) ||
           GetFileType(native(standard_handle(stream))) != FILE_TYPE_PIPE;
}

const wchar_t* raw_command_line() {
    return GetCommandLineW();
}

} // namespace cl::os
