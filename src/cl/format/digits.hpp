// How the conversion letters turn an integer into digits.
#pragma once

#include <array>
#include <cstdint>

namespace cl::detail {

inline constexpr char lower_digits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
inline constexpr char upper_digits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
inline constexpr char base64_digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

enum class conversion : std::uint8_t {
    signed_decimal, // 'd' and every letter that has no other meaning
    default_letter,
    unsigned_decimal,
    radix,
    pointer,
    character,
};

struct letter_info {
    conversion form;
    std::uint8_t base;
    const char* alphabet;
    const char* prefix; // with the alternative form, unless the value is 0
};

inline constexpr letter_info any_letter = {conversion::signed_decimal, 10, lower_digits, ""};

// By letter, for characters below 128.
inline constexpr std::array<letter_info, 128> letters = [] {
    std::array<letter_info, 128> t{};
    t.fill(any_letter);
    t['?'].form = t['i'].form = conversion::default_letter;
    t['u'].form = conversion::unsigned_decimal;
    t['c'].form = conversion::character;
    t['x'] = {conversion::radix, 16, lower_digits, "0x"};
    t['X'] = {conversion::radix, 16, upper_digits, "0x"};
    t['p'] = {conversion::pointer, 16, lower_digits, "0x"};
    t['o'] = {conversion::radix, 8, lower_digits, "0"};
    t['z'] = {conversion::radix, 36, lower_digits, ""};
    t['Z'] = {conversion::radix, 36, upper_digits, ""};
    t['m'] = {conversion::radix, 64, base64_digits, ""};
    return t;
}();

} // namespace cl::detail
