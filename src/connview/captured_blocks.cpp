#include "connview/captured_blocks.hpp"

#include "connview/snapshot_block.hpp"

#include <algorithm>

namespace vfl {

namespace {

constexpr std::size_t line_bytes = 16;
constexpr std::string_view magic = "\x08\xC9\xBC\xF3";

int digit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    const int letter = (c | 0x20) - 'a';
    return letter >= 0 && letter < 6 ? letter + 10 : -1;
}

// The bytes of a dump line; empty when it is none. Digits stand in pairs, with a blank or, in the middle, a
// dash between two of them; two blanks or the end of the line end them.
std::string line_of_dump(std::string_view line) {
    line.remove_prefix(std::min(line.find_first_not_of("> \t"), line.size()));
    std::string bytes;
    while (line.size() >= 2 && digit(line[0]) >= 0 && digit(line[1]) >= 0 && bytes.size() < line_bytes) {
        bytes += static_cast<char>(digit(line[0]) << 4 | digit(line[1]));
        line.remove_prefix(2);
        const char between = bytes.size() == 8 ? '-' : ' ';
        if (line.size() < 2 || line[0] != between || line[1] == ' ')
            break;
        line.remove_prefix(1);
    }
    const bool at_end = line.find_first_not_of(" \t\r") == line.npos;
    return at_end || line.starts_with("  ") || (bytes.size() == line_bytes && line.starts_with(' ')) ? bytes
                                                                                                     : "";
}

// The length of the block at the start of `bytes`; all of them when its counts make no sense.
std::size_t block_length(std::string_view bytes) {
    const std::int64_t size = snapshot_block(bytes).size();
    return size < 0 ? bytes.size() : std::min(bytes.size(), static_cast<std::size_t>(size));
}

// Cuts a block to its length; lines after that are of no block.
void end_block(captured_snapshots& found) {
    std::string& block = found.blocks.back();
    const std::size_t length = block_length(block);
    found.lost_lines += (block.size() - length) / line_bytes;
    block.resize(length);
}

} // namespace

captured_snapshots captured_blocks(std::string_view file) {
    captured_snapshots found;
    if (file.starts_with(magic)) {
        while (file.starts_with(magic)) {
            found.blocks.emplace_back(file.substr(0, block_length(file)));
            file.remove_prefix(found.blocks.back().size());
        }
        return found;
    }
    bool open = false;
    while (!file.empty()) {
        const std::size_t end = std::min(file.find('\n'), file.size());
        const std::string bytes = line_of_dump(file.substr(0, end));
        file.remove_prefix(std::min(end + 1, file.size()));
        const bool begins = bytes.starts_with(magic);
        if (open && (begins || bytes.empty()))
            end_block(found);
        if (begins)
            found.blocks.emplace_back();
        open = begins || (open && !bytes.empty());
        if (open)
            found.blocks.back() += bytes;
        else
            found.lost_lines += bytes.size() == line_bytes;
        if (open && bytes.size() < line_bytes) {
            end_block(found);
            open = false;
        }
    }
    if (open)
        end_block(found);
    return found;
}

} // namespace vfl
