#include "driver/hex_dump.hpp"

#include <algorithm>

namespace vfl {

namespace {

constexpr char digits[] = "0123456789abcdef";
constexpr std::uint32_t line_bytes = 16;

} // namespace

std::string hex_dump(const void* bytes, std::uint32_t count, const std::string& prefix) {
    const auto* const p = static_cast<const unsigned char*>(bytes);
    std::string out;
    // A full line: prefix, 47 for the digits, 2 blanks, 16 characters and the line feed.
    const std::size_t lines = (std::size_t{count} + line_bytes - 1) / line_bytes;
    out.reserve(lines * (prefix.size() + 66));
    for (std::uint64_t start = 0; start < count; start += line_bytes) {
        const auto n = static_cast<std::uint32_t>(std::min<std::uint64_t>(line_bytes, count - start));
        const unsigned char* const line = p + start;
        out += prefix;
        for (std::uint32_t i = 0; i < n; ++i) {
            if (i != 0)
                out += i == 8 ? '-' : ' ';
            out += digits[line[i] >> 4];
            out += digits[line[i] & 15];
        }
        // Deliberate: a dump of a single byte has no character part.
        if (count > 1) {
            out.append(47 - 3 * (n - 1), ' ');
            for (std::uint32_t i = 0; i < n; ++i)
                out += line[i] >= 32 && line[i] <= 127 ? static_cast<char>(line[i]) : '.';
        }
        out += '\n';
    }
    return out;
}

} // namespace vfl
