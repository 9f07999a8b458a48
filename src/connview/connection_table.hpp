// The console listing's table of connections.
#pragma once

#include "connview/connection_map.hpp"

#include <cstdint>
#include <string>

namespace vfl {

// What becomes of the control characters of texts: a remote host or a program may have chosen them to forge
// rows or to steer a terminal.
enum class controls {
    raw,     // they stay, but for zeros, which show as blanks
    escaped, // they show as \x1b, in hexadecimal
};

// One line for each entry below a line of headers, in the order of the map; empty for an empty map. `now`
// (seconds since 1970) gives the entries' ages; an entry from the future is 0 seconds old.
std::wstring connection_table(const connection_map& map, std::int64_t now, controls how = controls::raw);

} // namespace vfl
