#include "cl/sys/registry_text.hpp"

namespace cl {

std::wstring registry_text(std::span<const std::byte> data) {
    std::wstring text;
    text.reserve(data.size() / 2);
    for (std::size_t i = 0; i + 1 < data.size(); i += 2)
        text += static_cast<wchar_t>(std::to_integer<unsigned>(data[i]) |
                                     std::to_integer<unsigned>(data[i + 1]) << 8);
    while (!text.empty() && text.back() == 0)
        text.pop_back();
    return text;
}

} // namespace cl
