// How integers become digits: the alphabets, what the conversion letters mean, and writers that put the
// digits of a value so that they end at an end pointer.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace cl::detail {

inline constexpr char lower_digits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
inline constexpr char upper_digits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
inline constexpr char base64_digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

enum class conversion : std::uint8_t {
    signed_decimal, // 'd' and every letter that has no other meaning
    unsigned_decimal,
    default_letter,
    character,
    radix,
};

// By letter, for characters below 128.
inline constexpr std::array<conversion, 128> letters = [] {
    std::array<conversion, 128> t{};
    t.fill(conversion::signed_decimal);
    t['?'] = t['i'] = conversion::default_letter;
    t['u'] = conversion::unsigned_decimal;
    t['c'] = conversion::character;
    for (const char letter : {'x', 'X', 'p', 'o', 'z', 'Z', 'm'})
        t[static_cast<std::size_t>(letter)] = conversion::radix;
    return t;
}();

struct radix_info {
    unsigned shift; // bits to a digit; 0 = base 36
    const char* alphabet;
    const char* prefix; // of the alternative form, unless the value is 0
};

inline constexpr radix_info hex_lower = {4, lower_digits, "0x"};
inline constexpr radix_info hex_upper = {4, upper_digits, "0x"};
inline constexpr radix_info octal = {3, lower_digits, "0"};
inline constexpr radix_info base36_lower = {0, lower_digits, ""};
inline constexpr radix_info base36_upper = {0, upper_digits, ""};
inline constexpr radix_info base64 = {6, base64_digits, ""};

constexpr const radix_info& radix_of(char letter) {
    switch (letter) {
    case 'X':
        return hex_upper;
    case 'o':
        return octal;
    case 'z':
        return base36_lower;
    case 'Z':
        return base36_upper;
    case 'm':
        return base64;
    default:
        return hex_lower;
    }
}

// The most decimal digits that an integer can have.
inline constexpr int max_decimal = 20;

// Powers of ten as far as 64 bits hold them.
inline constexpr std::array<std::uint64_t, max_decimal> powers_of_10 = [] {
    std::array<std::uint64_t, max_decimal> t{1};
    for (std::size_t i = 1; i < t.size(); ++i)
        t[i] = t[i - 1] * 10;
    return t;
}();

// "00" to "99".
inline constexpr std::array<char, 200> digit_pairs = [] {
    std::array<char, 200> t{};
    for (std::size_t i = 0; i < 100; ++i) {
        t[2 * i] = static_cast<char>('0' + i / 10);
        t[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return t;
}();

inline int decimal_length(std::uint64_t value) {
    // 1233 / 4096 is a little above the decimal logarithm of 2.
    value |= 1; // as long as before, and 0 as long as 1
    const auto estimate = static_cast<std::size_t>(std::bit_width(value) * 1233) >> 12;
    return static_cast<int>(estimate + (value >= powers_of_10[estimate] ? 1 : 0));
}

template <class Ch>
void write_pair(Ch* to, std::size_t value) {
    to[0] = static_cast<Ch>(digit_pairs[value * 2]);
    to[1] = static_cast<Ch>(digit_pairs[value * 2 + 1]);
}

// Returns where the digits begin.
template <class Ch>
Ch* write_decimal(Ch* end, std::uint64_t value) {
    for (; value > 0xFFFFFFFF; value /= 100)
        write_pair(end -= 2, static_cast<std::size_t>(value % 100));
    // The rest at half the price.
    auto rest = static_cast<std::uint32_t>(value);
    for (; rest >= 100; rest /= 100)
        write_pair(end -= 2, rest % 100);
    if (rest >= 10)
        write_pair(end -= 2, rest);
    else
        *--end = static_cast<Ch>('0' + rest);
    return end;
}

// Groups of three digits.
template <class Ch>
void write_grouped(Ch* end, std::uint64_t value) {
    while (value >= 1000) {
        const auto three = static_cast<std::uint32_t>(value % 1000);
        value /= 1000;
        end -= 4;
        end[0] = ',';
        end[1] = static_cast<Ch>('0' + three / 100);
        write_pair(end + 2, three % 100);
    }
    write_decimal(end, value);
}

// A value scaled by 10^places, with its point.
template <class Ch>
void write_pointed(Ch* end, std::uint64_t value, int places) {
    const bool has_whole = places < max_decimal;
    const std::uint64_t scale = has_whole ? powers_of_10[static_cast<std::size_t>(places)] : 0;
    const std::uint64_t whole = has_whole ? value / scale : 0;
    Ch* const point = end - places - 1;
    Ch* first = write_decimal(end, has_whole ? value % scale : value);
    while (first > point + 1)
        *--first = '0';
    *point = '.';
    write_decimal(point, whole);
}

inline int radix_length(std::uint64_t value, unsigned shift) {
    if (shift != 0)
        return static_cast<int>((static_cast<unsigned>(std::bit_width(value | 1)) + shift - 1) / shift);
    int n = 1;
    while (value /= 36)
        ++n;
    return n;
}

template <class Ch>
void write_radix(Ch* end, std::uint64_t value, unsigned shift, const char* alphabet) {
    if (shift != 0) {
        const std::uint64_t mask = (std::uint64_t{1} << shift) - 1;
        do {
            *--end = static_cast<Ch>(alphabet[value & mask]);
        } while (value >>= shift);
    } else {
        do {
            *--end = static_cast<Ch>(alphabet[value % 36]);
        } while (value /= 36);
    }
}

} // namespace cl::detail
