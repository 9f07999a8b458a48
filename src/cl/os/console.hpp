// The process's standard streams, its console and its raw command line.
// Real on Windows; natively the tests' scripted console stands in for it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace cl::os {

enum class std_stream { in, out, err };

// Opaque; 0 when the process has no such stream.
using stream_handle = std::uintptr_t;

struct screen_info {
    std::int16_t window_left, window_top; // origin of the window in the screen buffer, in cells
    std::int16_t cursor_x, cursor_y;      // in screen buffer cells
    std::uint32_t attributes;
};

stream_handle standard_handle(std_stream stream);

// False for anything else, the NUL device among it.
bool is_console(stream_handle handle);

// False, and `info` untouched, when the handle is no console.
bool read_screen_info(stream_handle handle, screen_info& info);
bool set_cursor(stream_handle handle, std::int16_t x, std::int16_t y);

// Writes n UTF-16 code units to a console, in pieces if need be. False when the handle is no console.
bool write_console(stream_handle handle, const wchar_t* text, std::size_t n);

// Puts a zero-terminated text to the run-time's output or error stream, in its text mode (line feeds become
// CR LF on Windows), and flushes it. False when the stream is a pipe that nobody reads any more; any other
// failure is ignored.
bool put_stream(std_stream stream, const char* text);

// The command line as it was typed, program name included. Lives as long as the process.
const wchar_t* raw_command_line();

} // namespace cl::os
