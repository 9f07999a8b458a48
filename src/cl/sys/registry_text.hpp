// The text that a registry value's bytes hold.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace cl {

// The types whose data is a text: REG_SZ, and REG_EXPAND_SZ, which stays unexpanded.
constexpr bool is_registry_text(std::uint32_t type) {
    return type == 1 || type == 2;
}

// UTF-16, low byte first, as many whole units as the bytes hold, without the zeros at the end.
std::wstring registry_text(std::span<const std::byte> data);

} // namespace cl
