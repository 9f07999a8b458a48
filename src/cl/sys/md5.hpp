// The MD5 digest. For mixing seed material only: it is no protection against anyone.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace cl {

using md5_digest = std::array<std::uint8_t, 16>;

md5_digest md5(std::string_view text);

// 32 lower-case hexadecimal digits.
std::string md5_text(const md5_digest& digest);

} // namespace cl
