#include "cl/trace/console.hpp"

#include "cl/os/text.hpp"
#include "cl/text/text_convert.hpp"

#include <atomic>

namespace cl {

constinit console_state console{};

namespace {

constinit std::atomic<bool> reader_gone{false};

// Takes a status text off the screen: blanks over its columns, and the cursor where it began.
void erase_transient(os::stream_handle handle) {
    os::screen_info info;
    if (!os::read_screen_info(handle, info))
        return;
    const int column = info.cursor_x - console.window_left - console.transient_length;
    const auto x = static_cast<std::int16_t>(console.window_left + column);
    os::set_cursor(handle, x, info.cursor_y);
    const std::wstring blanks(static_cast<std::size_t>(console.transient_length), L' ');
    os::write_console(handle, blanks.data(), blanks.size());
    os::set_cursor(handle, x, info.cursor_y);
}

void console_write_to(os::stream_handle handle, const std::wstring& text) {
    if (console.transient_length > 0) {
        if (text.empty() || text[0] != L'\n')
            erase_transient(handle);
        console.transient_length = 0;
    }
    os::write_console(handle, text.data(), text.size());
}

const std::wstring& wide(const std::wstring& text) {
    return text;
}
std::wstring wide(const std::string& ansi) {
    return narrow_to_wide(ansi, 0);
}

void note_reader(bool there) {
    if (!there)
        reader_gone.store(true, std::memory_order_relaxed);
}

template <class Text>
void write_stream(os::std_stream stream, const Text& text) {
    const bool is_err = stream == os::std_stream::err;
    if (is_err ? console.stderr_redirected : console.stdout_redirected)
        note_reader(os::put_stream(stream, to_oem(text).c_str()));
    else
        console_write_to(is_err ? console.stderr_handle : console.stdout_handle, wide(text));
}

} // namespace

void init_console() {
    console.stdout_handle = os::standard_handle(os::std_stream::out);
    console.stderr_handle = os::standard_handle(os::std_stream::err);
    console.stdin_handle = os::standard_handle(os::std_stream::in);
    console.stdout_redirected = !os::is_console(console.stdout_handle);
    console.stderr_redirected = !os::is_console(console.stderr_handle);
    os::screen_info info{};
    if (os::read_screen_info(console.stdout_handle, info)) {
        console.window_left = info.window_left;
        console.window_top = info.window_top;
        console.text_attributes = info.attributes & 0xFF;
    }
}

void console_write(const std::wstring& text) {
    console_write_to(console.stdout_handle, text);
}
void console_write_narrow(const std::string& ansi) {
    console_write(wide(ansi));
}

void write_stdout(const std::string& ansi) {
    write_stream(os::std_stream::out, ansi);
}
void write_stdout(const std::wstring& text) {
    write_stream(os::std_stream::out, text);
}
void write_stderr(const std::string& ansi) {
    write_stream(os::std_stream::err, ansi);
}
void write_stderr(const std::wstring& text) {
    write_stream(os::std_stream::err, text);
}

bool reader_has_gone() {
    return reader_gone.load(std::memory_order_relaxed);
}

std::string to_oem(const std::string& ansi) {
    std::string oem(ansi.size() * 4 + 1, '\0');
    os::ansi_to_oem(ansi.c_str(), oem.data());
    oem.back() = 0;
    oem.resize(oem.find('\0'));
    return oem;
}

std::string to_oem(const std::wstring& text) {
    return to_oem(wide_to_narrow(text, 0));
}

} // namespace cl
