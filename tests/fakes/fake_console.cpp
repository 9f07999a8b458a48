#include "fakes/fake_console.hpp"

namespace fakes {

console& console::instance() {
    static console c;
    return c;
}

} // namespace fakes

namespace cl::os {

using fakes::console;

stream_handle standard_handle(std_stream stream) {
    return 1 + static_cast<stream_handle>(stream);
}

bool is_console(stream_handle handle) {
    return handle == standard_handle(std_stream::err) ? console::instance().err_is_console
                                                      : console::instance().out_is_console;
}

bool read_screen_info(stream_handle, screen_info& info) {
    if (!console::instance().has_screen)
        return false;
    info = console::instance().screen;
    return true;
}

bool set_cursor(stream_handle, std::int16_t x, std::int16_t y) {
    console::instance().cursor.emplace_back(x, y);
    return console::instance().has_screen;
}

bool write_console(stream_handle handle, const wchar_t* text, std::size_t n) {
    console& c = console::instance();
    if (!c.has_screen)
        return false;
    c.handles.push_back(handle);
    c.written.append(text, n);
    return true;
}

bool put_stream(std_stream stream, const char* text) {
    (stream == std_stream::err ? console::instance().err : console::instance().out) += text;
    return true;
}

const wchar_t* raw_command_line() {
    return console::instance().command_line.c_str();
}

} // namespace cl::os
