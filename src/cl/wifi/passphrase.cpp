#include "cl/wifi/passphrase.hpp"

#include <cstddef>

namespace cl {

void wipe(std::string& text) {
    // All of the buffer, which a string of its capacity fills without a new one.
    text.resize(text.capacity());
    // An ordinary store to memory that is about to go may be dropped.
    volatile char* const p = text.data();
    for (std::size_t i = 0; i < text.size(); ++i)
        p[i] = 0;
    text.clear();
}

std::vector<std::uint8_t> hex_bytes(std::string_view text) {
    std::vector<std::uint8_t> bytes;
    if (text.size() % 2)
        return bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const unsigned high = static_cast<unsigned char>(text[i]);
        const unsigned low = static_cast<unsigned char>(text[i + 1]);
        // Between '9' and 'A' there are 7 codes; the cut to four bits makes both cases the same.
        bytes.push_back(static_cast<std::uint8_t>(high * 16 - (high >= 0x3A ? 0x70 : 0) +
                                                  (low < 0x3A ? low - 0x30 : (low - 7) % 16)));
    }
    return bytes;
}

} // namespace cl
