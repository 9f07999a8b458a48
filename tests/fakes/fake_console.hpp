// The streams and the console of cl/os/console.hpp, held in memory. Not thread-safe.
#pragma once

#include "cl/os/console.hpp"

#include <string>
#include <utility>
#include <vector>

namespace fakes {

struct console {
    bool out_is_console = true, err_is_console = true;
    bool has_screen = true; // whether screen and console calls work
    cl::os::screen_info screen{};
    std::wstring written;                       // what went to the console, whichever handle it came by
    std::vector<cl::os::stream_handle> handles; // the handle of each write_console call
    std::vector<std::pair<std::int16_t, std::int16_t>> cursor; // each set_cursor call
    std::string out, err;                                      // what was put to the streams
    std::wstring command_line = L"vfl.exe";

    // The one console of the process; assign console{} to start afresh.
    static console& instance();
};

} // namespace fakes
