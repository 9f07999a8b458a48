#include "cl/sys/scramble.hpp"

#include <cstdint>

namespace cl {

namespace {

// The 95 characters from '!' to DEL are rotated; each plain character sets the rotation of the next.
constexpr int first = 33;
constexpr int count = 95;
constexpr int key_step = 11;

} // namespace

void unscramble(std::string& text) {
    int key = static_cast<int>(text.size() % count) + key_step;
    for (char& c : text) {
        const int code = static_cast<std::int8_t>(c);
        if (code < first)
            continue;
        const int place = ((code - key - first) % count + count) % count;
        c = static_cast<char>(place + first);
        key = place + first + key_step;
    }
}

} // namespace cl
