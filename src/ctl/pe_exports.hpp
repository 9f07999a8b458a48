// What a library file exports, read from the file's bytes: the library itself is never loaded.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vfl::ctl {

struct pe_file {
    bool is_x64_dll = false;          // a library for 64-bit Windows on x64; else nothing below has a meaning
    std::vector<std::string> exports; // by name
};

// Any bytes may be given.
pe_file read_pe(std::string_view bytes);

} // namespace vfl::ctl
