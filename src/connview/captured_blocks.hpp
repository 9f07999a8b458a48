// Connection snapshots as they are found in files: raw, or in the hex dump that `vfl -bincons -hex` prints,
// also inside of a mail or of a longer output.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vfl {

struct captured_snapshots {
    std::vector<std::string> blocks; // oldest first; one that is damaged stands as it was found
    std::size_t lost_lines = 0;      // whole dump lines that belong to no block
};

// Reads a file's content. One that begins with a snapshot's magic holds raw blocks, one after the other. In
// all others the dump lines are read: a dump line that begins with the magic begins a block, which ends where
// its own counts say, or before the first line that is no dump line, or after a dump line of less than 16
// bytes. Quotation marks ('>') and blanks before a line don't count, nor does what follows the digits.
captured_snapshots captured_blocks(std::string_view file);

} // namespace vfl
