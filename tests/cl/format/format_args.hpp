// Arguments of every type that the engine takes, made from a row of a table or from a round's numbers.
#pragma once

#include "cl/format/value_text.hpp"

#include <cstdint>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

using argument = std::variant<std::int8_t, std::uint8_t, std::int16_t, std::uint16_t, std::int32_t,
                              std::uint32_t, std::int64_t, std::uint64_t, bool, char, wchar_t, const char*,
                              std::string, std::wstring, cl::ip6_addr, cl::mac_addr>;
inline constexpr std::size_t integer_types = 8;

template <std::size_t I = 0>
argument integer(std::size_t type, std::uint64_t value) {
    if constexpr (I + 1 < integer_types)
        if (type != I)
            return integer<I + 1>(type, value);
    return argument(std::in_place_index<I>, static_cast<std::variant_alternative_t<I, argument>>(value));
}

// As a table has them, with a blank between two: i8:-1 to u64:1, s:text, w:text, p:4095 (an address).
inline std::vector<argument> arguments_of(const std::wstring& list) {
    std::vector<argument> all;
    std::wistringstream words(list);
    for (std::wstring word; words >> word;) {
        const std::size_t colon = word.find(L':');
        const std::wstring type = word.substr(0, colon), text = word.substr(colon + 1);
        if (type == L"s")
            all.emplace_back(std::string(text.begin(), text.end()));
        else if (type == L"w")
            all.emplace_back(text);
        else if (type == L"p")
            all.emplace_back(reinterpret_cast<const char*>(static_cast<std::uintptr_t>(std::stoul(text))));
        else
            all.push_back(
                integer(static_cast<std::size_t>(2 * std::countr_zero(std::stoul(type.substr(1)) / 8) +
                                                 (type[0] == L'u')),
                        text[0] == L'-' ? static_cast<std::uint64_t>(std::stoll(text)) : std::stoull(text)));
    }
    return all;
}

// A wide formatter passes over what it can't take.
template <class Ch>
void insert(cl::format_base<Ch>& f, const std::vector<argument>& arguments) {
    for (const argument& a : arguments)
        std::visit(
            [&f](const auto& value) {
                if constexpr (requires { f << value; })
                    f << value;
            },
            a);
}
