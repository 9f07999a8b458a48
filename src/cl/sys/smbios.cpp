#include "cl/sys/smbios.hpp"

#include "cl/format/text.hpp"
#include "cl/format/value_text.hpp"
#include "cl/text/string_util.hpp"

#include <algorithm>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

namespace cl {

namespace {

using bytes = std::span<const std::byte>;

constexpr std::size_t table_header_bytes = 8;
constexpr std::size_t min_bytes = 4;  // type, length, handle
constexpr std::size_t min_length = 5; // a shorter structure ends the table

enum structure_type : unsigned {
    system_structure = 1,
    base_board_structure = 2,
    connector_structure = 8,
    slot_structure = 9,
    memory_structure = 17,
};

// Offsets in a structure.
constexpr std::size_t board_maker = 4, board_serial = 7;
constexpr std::size_t system_uuid = 8, system_uuid_end = 24;
constexpr std::size_t memory_texts[] = {16, 17, 23, 24};

struct structure {
    unsigned type;
    bytes data; // type, length and handle included
    std::vector<std::string_view> strings;

    std::string_view string(std::size_t index) const {
        return index >= 1 && index <= strings.size() ? strings[index - 1] : std::string_view();
    }
    // The string that the byte at `offset` refers to.
    std::string_view string_at(std::size_t offset) const {
        return offset < data.size() ? string(std::to_integer<std::size_t>(data[offset])) : std::string_view();
    }
};

// Takes the string set off `rest`. A set without strings is two zeros; one that the table cuts off ends
// there.
std::vector<std::string_view> take_strings(bytes& rest) {
    std::vector<std::string_view> strings;
    for (;;) {
        const auto end = std::find(rest.begin(), rest.end(), std::byte{0});
        const auto length = static_cast<std::size_t>(end - rest.begin());
        const std::string_view string(reinterpret_cast<const char*>(rest.data()), length);
        rest = rest.subspan(std::min(length + 1, rest.size()));
        if (length == 0) {
            if (strings.empty() && !rest.empty() && rest.front() == std::byte{0})
                rest = rest.subspan(1);
            return strings;
        }
        strings.push_back(string);
    }
}

std::optional<structure> take_structure(bytes& rest) {
    if (rest.size() < min_bytes)
        return std::nullopt;
    const auto length = std::to_integer<std::size_t>(rest[1]);
    if (length < min_length || length > rest.size())
        return std::nullopt;
    structure s{std::to_integer<unsigned>(rest[0]), rest.first(length), {}};
    rest = rest.subspan(length);
    s.strings = take_strings(rest);
    return s;
}

std::string uuid_text(bytes data) {
    guid id{};
    for (std::size_t i = 4; i-- > 0;)
        id.data1 = id.data1 << 8 | std::to_integer<std::uint32_t>(data[i]);
    const auto word = [&](std::size_t at) {
        return static_cast<std::uint16_t>(std::to_integer<unsigned>(data[at]) |
                                          std::to_integer<unsigned>(data[at + 1]) << 8);
    };
    id.data2 = word(4);
    id.data3 = word(6);
    for (std::size_t i = 0; i < 8; ++i)
        id.data4[i] = std::to_integer<std::uint8_t>(data[8 + i]);
    return guid_text(id);
}

std::string memory_text(const structure& s) {
    std::string text;
    bool any = false;
    for (const std::size_t offset : memory_texts) {
        if (offset != memory_texts[0])
            text += ':';
        const std::string_view part = s.string_at(offset);
        any = any || !part.empty();
        text += part;
    }
    return any ? text : std::string();
}

std::string joined(const std::multiset<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts)
        all += text;
    return all;
}

} // namespace

std::string smbios_items(std::span<const std::byte> table) {
    bytes rest = table.subspan(std::min(table_header_bytes, table.size()));
    std::string maker, serial, uuid, types;
    bool have_board = false, have_uuid = false;
    std::multiset<std::string> connectors, memory;

    while (const std::optional<structure> s = take_structure(rest)) {
        if (!types.empty())
            types += '-';
        types += text("%?", s->type);
        switch (s->type) {
        case base_board_structure:
            if (!have_board) {
                maker = trim_both(s->string_at(board_maker));
                serial = trim_both(s->string_at(board_serial));
                have_board = true;
            }
            break;
        case system_structure:
            if (!have_uuid && s->data.size() >= system_uuid_end) {
                uuid = uuid_text(s->data.subspan(system_uuid));
                have_uuid = true;
            }
            break;
        case connector_structure:
        case slot_structure:
            connectors.emplace(s->string(1));
            break;
        case memory_structure:
            memory.insert(memory_text(*s));
            break;
        default:
            break;
        }
    }
    if (types.empty())
        return {};
    return text("%?; %?; %?; %?; %?; %?; ", maker, serial, uuid, joined(connectors), joined(memory), types);
}

} // namespace cl
