// The console listing's table of connections.
#pragma once

#include "connview/connection_map.hpp"

#include <cstdint>
#include <string>

namespace vfl {

// One line for each entry below a line of headers, in the order of the map; empty for an empty map. `now`
// (seconds since 1970) gives the entries' ages; an entry from the future is 0 seconds old. A zero in a text
// shows as a blank.
std::wstring connection_table(const connection_map& map, std::int64_t now);

} // namespace vfl
