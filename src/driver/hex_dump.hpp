// Bytes as text for people, 16 to a line.
#pragma once

#include <cstdint>
#include <string>

namespace vfl {

// Two lower-case digits a byte, a minus sign before the ninth, and the line's characters after them (32
// to 127 as they are, others as a point). Each line begins with `prefix` and ends in a line feed. No bytes
// give no text.
std::string hex_dump(const void* bytes, std::uint32_t count, const std::string& prefix);

} // namespace vfl
