// Connection snapshots as they are found in files: raw, or in the hex dump that `vfl -bincons -hex` prints,
// also inside of a mail or of a longer output.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// The blocks of a file, oldest first. A file that begins with a snapshot's magic is one raw block. In all
// other files the dump lines are read: a block begins with the magic at the start of a line and ends ahead of
// the first line that is no dump line, or behind a dump line of less than 16 bytes. Quotation marks ('>') and
// blanks ahead of a line don't count, nor does what stands behind the digits. Empty when there is nothing of
// either kind.
std::vector<std::string> captured_blocks(std::string_view file);
