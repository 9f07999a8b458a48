// A directive of a format string: %[flags][width][.precision][~digits][size]letter.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace cl::detail {

enum directive_flag : std::uint8_t {
    flag_left = 1,
    flag_plus = 2,
    flag_space = 4,
    flag_alt = 8,
    flag_group = 16,
    flag_fixed = 32,
    star_width = 64,
    star_precision = 128,
};

// Among the marks of `directive_syntax`: '0', and what may stand between the width and the letter.
inline constexpr std::uint8_t zero_mark = 64;
inline constexpr std::uint8_t more_mark = 128;

// What a character means in a directive: the bit of a flag, a mark, or 0.
inline constexpr std::array<std::uint8_t, 128> directive_syntax = [] {
    std::array<std::uint8_t, 128> t{};
    t[' '] = flag_space;
    t['#'] = flag_alt;
    t['\''] = flag_group;
    t['+'] = flag_plus;
    t[','] = flag_fixed;
    t['-'] = flag_left;
    t['0'] = zero_mark;
    for (const char c : {'.', '~', 'h', 'l', 'L', 'I'})
        t[static_cast<std::size_t>(c)] = more_mark;
    return t;
}();

template <class Ch>
constexpr std::uint8_t syntax_of(Ch character) {
    const auto c = static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<Ch>>(character));
    return c < directive_syntax.size() ? directive_syntax[c] : std::uint8_t{0};
}

// Numbers are kept in 8 bits and wrap.
template <class Ch>
constexpr std::uint8_t parse_number(const Ch*& f, unsigned start) {
    for (; *f >= '0' && *f <= '9'; ++f)
        start = start * 10 + static_cast<unsigned>(*f - '0');
    return static_cast<std::uint8_t>(start);
}

// What a directive says but for its letter. A fresh object is the state between two directives.
template <class Ch>
struct directive {
    std::uint8_t width = 0;      // minimum field width, 0 = none
    std::int8_t precision = -1;  // negative = not given
    std::int8_t sig_digits = -1; // the number after '~', negative = not given
    std::uint8_t flags = 0;      // bits of directive_flag
    bool star_sig = false;       // "~*" waits for its argument
    // More than a width and its fill has been read, or a letter other than '?'.
    bool full = false;
    Ch fill = ' '; // ' ' or '0'

    // Reads what follows the percent sign, over what is set already, and returns where the letter stands.
    constexpr const Ch* parse(const Ch* f);

    constexpr bool has_star() const { return (flags & (star_width | star_precision)) != 0 || star_sig; }
    // An integer serves the first '*' that waits. Its low byte counts, as a signed number.
    constexpr void take_star(std::uint8_t value);
    constexpr void drop_stars();
};

template <class Ch>
constexpr const Ch* directive<Ch>::parse(const Ch* f) {
    std::uint8_t s = 0;
    for (; (s = syntax_of(*f)) != 0 && s != more_mark; ++f) {
        if (s == zero_mark) {
            fill = '0';
        } else {
            flags |= s;
            full = true;
        }
    }
    if (*f == '*') {
        flags |= star_width;
        full = true;
        ++f;
    } else {
        width = parse_number(f, width);
    }
    if (syntax_of(*f) != more_mark) {
        full |= *f != '?';
        return f;
    }
    full = true;
    if (*f == '.') {
        fill = ' '; // a precision cancels the padding with zeros
        if (*++f == '*') {
            flags |= star_precision;
            ++f;
        } else {
            precision = static_cast<std::int8_t>(parse_number(f, 0));
        }
    }
    if (*f == '~') {
        if (*++f == '*') {
            star_sig = true;
            ++f;
        } else {
            sig_digits = static_cast<std::int8_t>(parse_number(f, 0));
        }
    }
    if (*f == 'h' || *f == 'l' || *f == 'L') {
        if (*++f == 'l')
            ++f;
    } else if (*f == 'I' && f[1] == '6' && f[2] == '4') {
        f += 3;
    }
    return f;
}

// A width of 200 is -56, left-aligned in 56 places. Deliberate.
template <class Ch>
constexpr void directive<Ch>::take_star(std::uint8_t value) {
    const auto number = static_cast<std::int8_t>(value);
    if (flags & star_width) {
        flags = static_cast<std::uint8_t>(flags & ~star_width);
        width = static_cast<std::uint8_t>(number < 0 ? -number : number);
        if (number < 0)
            flags |= flag_left;
    } else if (flags & star_precision) {
        flags = static_cast<std::uint8_t>(flags & ~star_precision);
        precision = std::max(number, std::int8_t{-1});
    } else if (star_sig) {
        star_sig = false;
        sig_digits = std::max(number, std::int8_t{-1});
    }
}

template <class Ch>
constexpr void directive<Ch>::drop_stars() {
    flags = static_cast<std::uint8_t>(flags & ~(star_width | star_precision));
    star_sig = false;
}

// How many arguments a format takes: one for each directive and one for each '*'.
template <class Ch>
constexpr std::size_t count_arguments(const Ch* format) {
    std::size_t n = 0;
    for (const Ch* f = format; *f != 0; ++f) {
        if (*f != '%' || *++f == '%')
            continue;
        directive<Ch> d;
        f = d.parse(f);
        for (n += 1; d.has_star(); n += 1)
            d.take_star(0);
        if (*f == 0)
            break;
    }
    return n;
}

} // namespace cl::detail
