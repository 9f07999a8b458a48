#include "cl/format/directive.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <type_traits>

namespace cl::detail {

namespace {

// Marks '0' among the flags, and what may stand between the width and the letter.
constexpr std::uint8_t zero_mark = 64;
constexpr std::uint8_t more_mark = 128;

// What a character means in a directive: the bit of a flag, a mark, or 0.
constexpr std::array<std::uint8_t, 128> syntax = [] {
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
std::uint8_t syntax_of(Ch character) {
    const auto c = static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<Ch>>(character));
    return c < syntax.size() ? syntax[c] : std::uint8_t{0};
}

// Numbers are kept in 8 bits and wrap.
template <class Ch>
std::uint8_t parse_number(const Ch*& f, unsigned start) {
    for (; *f >= '0' && *f <= '9'; ++f)
        start = start * 10 + static_cast<unsigned>(*f - '0');
    return static_cast<std::uint8_t>(start);
}

} // namespace

template <class Ch>
const Ch* directive<Ch>::parse(const Ch* f) {
    std::uint8_t s;
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
void directive<Ch>::take_star(std::uint8_t value) {
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
void directive<Ch>::drop_stars() {
    flags = static_cast<std::uint8_t>(flags & ~(star_width | star_precision));
    star_sig = false;
}

template struct directive<char>;
template struct directive<wchar_t>;

} // namespace cl::detail
