// The message boxes of cl/os/message_box.hpp: keeps what they would show. Not thread-safe.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace fakes {

struct message_box {
    std::string text, caption; // those of a wide box are narrowed, and `wide` is set
    std::uint32_t style;
    bool wide;

    bool operator==(const message_box&) const = default;
    // All boxes so far.
    static std::vector<message_box>& shown();
};

} // namespace fakes
