#include "captured_blocks.hpp"

#include <algorithm>

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

} // namespace

std::vector<std::string> captured_blocks(std::string_view file) {
    if (file.starts_with(magic))
        return {std::string(file)};
    std::vector<std::string> blocks;
    bool open = false;
    while (!file.empty()) {
        const std::size_t end = std::min(file.find('\n'), file.size());
        const std::string bytes = line_of_dump(file.substr(0, end));
        file.remove_prefix(std::min(end + 1, file.size()));
        if (!open && bytes.starts_with(magic)) {
            blocks.emplace_back();
            open = true;
        }
        if (open)
            blocks.back() += bytes;
        open = open && bytes.size() == line_bytes;
    }
    return blocks;
}
