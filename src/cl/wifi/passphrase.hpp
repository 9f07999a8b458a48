// Clear-text passphrases: they never go to the trace, and are overwritten after use.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace cl {

// Overwrites the text and everything else in its buffer with zeros and empties it. It doesn't
// reach an earlier buffer of the string: fill a passphrase in one go, and copy it, because a move may leave
// the characters in the old place.
void wipe(std::string& text);

// A passphrase that is wiped at the end of its scope.
struct passphrase {
    passphrase() = default;
    ~passphrase() { wipe(text); }
    passphrase(const passphrase&) = delete;
    passphrase& operator=(const passphrase&) = delete;

    std::string text;
};

// Two characters to a byte, the high digit first, in upper or lower case. Other characters are not refused
// and give some byte. A text of odd length gives none.
std::vector<std::uint8_t> hex_bytes(std::string_view text);

// The clear text of a block that CryptProtectData has protected with this entropy, given in hexadecimal.
// Empty on every failure. The caller wipes it.
std::string unprotect_hex(std::string_view hex_text, std::string_view entropy);

} // namespace cl
