// The encodings of text files, between bytes and UTF-16 units. Pure functions.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace cl {

enum text_encoding : std::uint32_t {
    encoding_ansi = 0,
    encoding_utf8 = 1,
    encoding_utf16le = 2,
    encoding_utf16be = 3,
    encoding_utf32le = 4,
    encoding_utf32be = 5,
};
inline constexpr std::uint32_t encoding_count = 6;

// The byte order mark; empty for ANSI and for values that are no encoding.
constexpr std::string_view byte_order_mark(std::uint32_t encoding) {
    using namespace std::string_view_literals;
    constexpr std::string_view marks[] = {"",         "\xEF\xBB\xBF"sv,     "\xFF\xFE"sv,
                                          "\xFE\xFF", "\xFF\xFE\x00\x00"sv, "\x00\x00\xFE\xFF"sv};
    return encoding < encoding_count ? marks[encoding] : ""sv;
}

inline constexpr wchar_t mark_char = 0xFEFF;

constexpr bool is_high_surrogate(std::uint32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool is_low_surrogate(std::uint32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// A code point as one or two units; low is 0 with one. A value above 0x10FFFF becomes a blank.
struct utf16_units {
    std::uint16_t first, low;
};
constexpr utf16_units to_units(std::uint32_t code) {
    if (code > 0x10FFFF)
        return {0x20, 0};
    if (code < 0x10000)
        return {static_cast<std::uint16_t>(code), 0};
    return {static_cast<std::uint16_t>(0xD7C0 + (code >> 10)),
            static_cast<std::uint16_t>(0xDC00 | (code & 0x3FF))};
}

constexpr std::uint32_t from_surrogates(std::uint32_t high, std::uint32_t low) {
    return (high << 10) + low - 0x35FDC00;
}

// How many continuation bytes (0 to 5) a lead byte of UTF-8 announces, -1 if it is none. Those for code
// points above 0x10FFFF count too.
constexpr int utf8_tail_length(std::uint8_t lead) {
    return lead < 0x80   ? 0
           : lead < 0xC0 ? -1
           : lead < 0xE0 ? 1
           : lead < 0xF0 ? 2
           : lead < 0xF8 ? 3
           : lead < 0xFC ? 4
           : lead < 0xFE ? 5
                         : -1;
}

// The value of a sequence of 1 + tail bytes: one unit for a tail of 1 or 2, which lets overlong forms and
// surrogates through as they stand. False if one of the tail is no continuation byte.
constexpr bool utf8_value(const std::uint8_t* p, int tail, std::uint32_t& code) {
    code = tail ? p[0] & (0x3Fu >> tail) : p[0];
    for (int i = 1; i <= tail; ++i) {
        if ((p[i] & 0xC0) != 0x80)
            return false;
        code = code << 6 | (p[i] & 0x3Fu);
    }
    return true;
}

// Encode one code point and return the number of bytes (at most 4). Any value below 0x200000 is taken as it
// is.
constexpr int put_utf8(std::uint8_t* p, std::uint32_t code) {
    if (code < 0x80) {
        p[0] = static_cast<std::uint8_t>(code);
        return 1;
    }
    const int tail = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    constexpr std::uint8_t leads[] = {0, 0xC0, 0xE0, 0xF0};
    p[0] = static_cast<std::uint8_t>(leads[tail] | code >> (6 * tail));
    for (int i = 1; i <= tail; ++i)
        p[i] = static_cast<std::uint8_t>(0x80 | (code >> (6 * (tail - i)) & 0x3F));
    return tail + 1;
}

// The units and code points of UTF-16 and UTF-32, in either byte order.
template <int Bytes, bool Big>
std::uint32_t get_unit(const std::uint8_t* p) {
    std::conditional_t<Bytes == 2, std::uint16_t, std::uint32_t> value;
    std::memcpy(&value, p, Bytes);
    if constexpr (Big != (std::endian::native == std::endian::big))
        return Bytes == 2 ? __builtin_bswap16(static_cast<std::uint16_t>(value)) : __builtin_bswap32(value);
    return value;
}
template <int Bytes, bool Big>
void put_unit(std::uint8_t* p, std::uint32_t unit) {
    auto value = static_cast<std::conditional_t<Bytes == 2, std::uint16_t, std::uint32_t>>(unit);
    if constexpr (Big != (std::endian::native == std::endian::big))
        value = static_cast<decltype(value)>(Bytes == 2 ? __builtin_bswap16(static_cast<std::uint16_t>(unit))
                                                        : __builtin_bswap32(unit));
    std::memcpy(p, &value, Bytes);
}

} // namespace cl
