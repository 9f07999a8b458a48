// A directive of a format string: %[flags][width][.precision][~digits][size]letter.
#pragma once

#include <cstdint>

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

    // Reads from behind the percent sign, over what is set already, and returns where the letter stands.
    const Ch* parse(const Ch* f);

    bool has_star() const { return (flags & (star_width | star_precision)) != 0 || star_sig; }
    // An integer serves the first '*' that waits. Its low byte counts, as a signed number.
    void take_star(std::uint8_t value);
    void drop_stars();
};

extern template struct directive<char>;
extern template struct directive<wchar_t>;

} // namespace cl::detail
