// Scrambles the few names that must not show up as plain text in the executable. It is no encryption.
#pragma once

#include <string>

namespace cl {

// Turns the scrambled 8-bit text into plain text, in place. Blanks, control characters and bytes of 128 and
// above stay as they are. The point that marks a scrambled name isn't part of the text.
void unscramble(std::string& text);

} // namespace cl
