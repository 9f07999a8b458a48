// The light disguise under which a few names stand in the program's own tables, so that they don't show up as
// plain text in the executable. It is no encryption.
#pragma once

#include <string>

namespace cl {

// Turns the scrambled 8-bit text into plain text, in place. Blanks, control characters and bytes of 128 and
// above stand for themselves. The point that marks a scrambled name is no part of the text.
void unscramble(std::string& text);

} // namespace cl
