// The console layer under the standard-stream sinks. It knows of standard output and standard error, each by
// itself, whether they are real consoles; a console gets UTF-16, anything else gets the OEM code page through
// the run-time's text mode. Any thread may write; nothing fails.
#pragma once

#include "cl/os/console.hpp"

#include <cstdint>
#include <string>

namespace cl {

// Set once by init_console, before `main`. Coordinates are cells of the screen buffer.
struct console_state {
    os::stream_handle stdout_handle, stderr_handle, stdin_handle;
    bool stdout_redirected, stderr_redirected; // no console
    std::int16_t window_left, window_top;      // 0 without a console
    std::uint32_t text_attributes;             // low byte of the screen buffer's attributes
    std::int32_t transient_length;             // columns of a status text to erase before the next write
};
extern console_state console;

void init_console();

// Writes all of the text to the console behind standard output, zeros included.
void console_write(const std::wstring& text);
void console_write_narrow(const std::string& ansi);

// Standard output: its console or, redirected, the stream. A stream ends the text at its first zero.
void write_stdout(const std::string& ansi);
void write_stdout(const std::wstring& text);

// Standard error, in the same way.
void write_stderr(const std::string& ansi);
void write_stderr(const std::wstring& text);

// Whether a text was lost because its stream is a pipe whose reader has gone. Stays true.
bool reader_has_gone();

// Text in the OEM code page, as far as its first zero.
std::string to_oem(const std::string& ansi);
std::string to_oem(const std::wstring& text);

} // namespace cl
