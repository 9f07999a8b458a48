#include "cl/sys/adapters.hpp"

#include "cl/format/value_text.hpp"
#include "cl/text/string_util.hpp"

#include <algorithm>
#include <array>
#include <set>

namespace cl {

namespace {

using address = std::array<std::uint8_t, 6>;

// Interface types of the system: Ethernet, token ring, wireless.
constexpr std::uint32_t real_types[] = {6, 9, 71};

constexpr address useless[] = {
    {0, 0, 0, 0, 0, 0},
    {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
    {0x33, 0x33, 0, 0, 0, 1},
    {0x88, 0x88, 0x88, 0x88, 0x87, 0x88},
};

// Makers of virtual machines.
constexpr std::array<std::uint8_t, 3> virtual_makers[] = {{0x00, 0x50, 0x56}, {0x0A, 0x00, 0x27}};

// The bits of group addresses and of locally administered ones.
constexpr std::uint8_t not_of_a_maker = 3;

bool is_real(const network_adapter& adapter) {
    if (std::ranges::find(real_types, adapter.type) == std::end(real_types) ||
        adapter.address.size() != std::tuple_size_v<address>)
        return false;
    const auto equals = [&](const auto& bytes) {
        return std::equal(bytes.begin(), bytes.end(), adapter.address.begin());
    };
    return std::ranges::none_of(useless, equals) && std::ranges::none_of(virtual_makers, equals) &&
           (adapter.address[0] & not_of_a_maker) == 0 && !ifind(adapter.description.c_str(), "virtual");
}

} // namespace

std::string adapter_addresses(std::span<const network_adapter> adapters) {
    std::set<std::string> texts;
    for (const network_adapter& adapter : adapters)
        if (is_real(adapter))
            texts.insert(mac_text(adapter.address.data(), false));
    std::string all;
    for (const std::string& text : texts)
        all += text + ' ';
    return all;
}

} // namespace cl
