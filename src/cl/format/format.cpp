#include "cl/format/format.hpp"

#include "cl/format/digits.hpp"
#include "cl/os/text.hpp"

#include <algorithm>
#include <array>
#include <iterator>

namespace cl {

namespace {

using detail::conversion;

// A pointer into the first page is held to be no text.
bool is_null(const void* text) {
    return reinterpret_cast<std::uintptr_t>(text) < 4096;
}

// The most digits that an integer can have.
constexpr int max_digits = 20;

// Powers of ten as far as 64 bits hold them.
constexpr std::array<std::uint64_t, max_digits> powers_of_10 = [] {
    std::array<std::uint64_t, max_digits> t{1};
    for (std::size_t i = 1; i < t.size(); ++i)
        t[i] = t[i - 1] * 10;
    return t;
}();

template <class Ch>
bool is_digit(Ch c) {
    return c >= '0' && c <= '9';
}

template <class Ch>
detail::letter_info info_of(Ch letter) {
    const auto c = static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<Ch>>(letter));
    return c < detail::letters.size() ? detail::letters[c] : detail::any_letter;
}

template <class Ch>
std::size_t text_length(const Ch* text, int precision) {
    if (precision < 0)
        return std::char_traits<Ch>::length(text);
    std::size_t n = 0;
    while (n < static_cast<std::size_t>(precision) && text[n] != 0)
        ++n;
    return n;
}

} // namespace

// The digits of a number, built from the end of the buffer. The longest text is a fixed-point number with the
// largest precision: 127 places, the point and one digit ahead of it.
template <class Ch>
struct format_base<Ch>::digit_text {
    static constexpr int capacity = 160;
    Ch buffer[capacity];
    Ch* first = buffer + capacity;

    void prepend(Ch c) { *--first = c; }
    int length() const { return static_cast<int>(buffer + capacity - first); }

    // A separator before every `size` digits, counted from the right.
    void separate(Ch separator, int size) {
        const int n = length();
        const int separators = (n - 1) / size;
        Ch* to = first - separators;
        const Ch* from = first;
        first = to;
        for (int i = n; i > 0; --i) {
            *to++ = *from++;
            if (i > 1 && (i - 1) % size == 0)
                *to++ = separator;
        }
    }
};

template <class Ch>
void format_base<Ch>::scan_format(const Ch* format) {
    fmt = format ? format : no_text;
    scan(false);
}

// Emits literal text up to the next directive, and parses that. With `to_end` no argument will come: the scan
// goes on at the directive's letter.
template <class Ch>
void format_base<Ch>::scan(bool to_end) {
    while (*fmt != 0) {
        Ch c = *fmt;
        if (c == '%') {
            if (fmt[1] != '%') {
                fmt = parse(fmt + 1);
                if (!to_end)
                    return;
                // A letter that is itself a percent sign is scanned like any other.
                if (*fmt == 0 || *fmt == '%')
                    continue;
                c = *fmt;
            } else {
                ++fmt;
            }
        }
        put_fill(c, 1);
        ++fmt;
    }
}

// Reads a directive from behind its percent sign; returns where its letter stands.
template <class Ch>
const Ch* format_base<Ch>::parse(const Ch* f) {
    for (;; ++f) {
        if (*f == ' ')
            flags |= space;
        else if (*f == '#')
            flags |= alt;
        else if (*f == '\'')
            flags |= group;
        else if (*f == '+')
            flags |= plus;
        else if (*f == ',')
            flags |= fixed;
        else if (*f == '-')
            flags |= left;
        else if (*f == '0')
            fill = '0';
        else
            break;
    }
    // Numbers are kept in 8 bits and wrap.
    const auto number_at = [&f](unsigned start) {
        for (; is_digit(*f); ++f)
            start = start * 10 + static_cast<unsigned>(*f - '0');
        return static_cast<std::uint8_t>(start);
    };
    if (*f == '*') {
        flags |= star_width;
        ++f;
    } else {
        width = number_at(width);
    }
    if (*f == '.') {
        fill = ' '; // a precision cancels the padding with zeros
        if (*++f == '*') {
            flags |= star_precision;
            ++f;
        } else {
            precision = static_cast<std::int8_t>(number_at(0));
        }
    }
    if (*f == '~') {
        if (*++f == '*') {
            star_sig = true;
            ++f;
        } else {
            sig_digits = static_cast<std::int8_t>(number_at(0));
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

// An integer argument first serves what a '*' left open. The low byte counts, as a signed number: a width of
// 200 is -56, left-aligned in 56 places. Deliberate.
template <class Ch>
bool format_base<Ch>::take_star(std::uint8_t value) {
    const auto number = static_cast<std::int8_t>(value);
    if (flags & star_width) {
        flags = static_cast<std::uint8_t>(flags & ~star_width);
        width = static_cast<std::uint8_t>(number < 0 ? -number : number);
        if (number < 0)
            flags |= left;
    } else if (flags & star_precision) {
        flags = static_cast<std::uint8_t>(flags & ~star_precision);
        precision = std::max(number, std::int8_t{-1});
    } else if (star_sig) {
        star_sig = false;
        sig_digits = std::max(number, std::int8_t{-1});
    } else {
        return false;
    }
    return true;
}

template <class Ch>
void format_base<Ch>::drop_stars() {
    flags = static_cast<std::uint8_t>(flags & ~(star_width | star_precision));
    star_sig = false;
}

template <class Ch>
format_base<Ch>& format_base<Ch>::arg32(std::int32_t signed_form, std::uint32_t unsigned_form,
                                        char default_letter) {
    return arg64(signed_form, unsigned_form, default_letter);
}

template <class Ch>
format_base<Ch>& format_base<Ch>::arg64(std::int64_t signed_form, std::uint64_t unsigned_form,
                                        char default_letter) {
    if (!take_star(static_cast<std::uint8_t>(unsigned_form)))
        number(signed_form, unsigned_form, default_letter);
    return *this;
}

// A text can't stand in for a '*'. Under a pointer's letter its address is the argument, and it isn't looked
// at.
template <class Ch>
bool format_base<Ch>::pointer_letter(const void* text) {
    drop_stars();
    if (*fmt != 'x' && *fmt != 'X' && *fmt != 'p')
        return false;
    flags |= alt;
    const auto address = reinterpret_cast<std::uintptr_t>(text);
    arg64(static_cast<std::int64_t>(address), address, 'u');
    return true;
}

// Text of the formatter's own character type.
template <class Ch>
format_base<Ch>& format_base<Ch>::own_text(const Ch* text, std::size_t n, bool null_word) {
    static constexpr Ch null_text[] = {'(', 'n', 'u', 'l', 'l', ')'};
    if (pointer_letter(text))
        return *this;
    if (is_null(text)) {
        text = null_text;
        n = null_word ? std::size(null_text) : 0;
    } else if (n == to_zero) {
        n = text_length(text, precision);
    }
    emit_text(text, n);
    return *this;
}

template <class Ch>
format_base<Ch>& format_base<Ch>::arg_wtext(const wchar_t* text, std::size_t n, bool null_word) {
    if constexpr (std::same_as<Ch, wchar_t>) {
        return own_text(text, n, null_word);
    } else {
        if (pointer_letter(text))
            return *this;
        if (is_null(text))
            return own_text(nullptr, 0, null_word);
        if (n == to_zero)
            n = text_length(text, precision);
        std::string bytes(os::from_utf16(0, text, n, nullptr, 0), '\0');
        bytes.resize(os::from_utf16(0, text, n, bytes.data(), bytes.size()));
        emit_text(bytes.data(), bytes.size());
        return *this;
    }
}

template <class Ch>
void format_base<Ch>::number(std::int64_t signed_form, std::uint64_t unsigned_form, char default_letter) {
    detail::letter_info info = info_of(*fmt);
    if (info.form == conversion::default_letter)
        info = info_of(default_letter);
    if (info.form == conversion::character) {
        const Ch c = static_cast<Ch>(unsigned_form & (std::same_as<Ch, char> ? 0xFF : 0xFFFF));
        return emit_text(&c, c != 0 ? 1 : 0);
    }
    if (info.form == conversion::pointer)
        flags |= alt;

    const bool negative = info.form == conversion::signed_decimal && signed_form < 0;
    std::uint64_t value = unsigned_form;
    if (info.form == conversion::signed_decimal)
        value =
            negative ? 0 - static_cast<std::uint64_t>(signed_form) : static_cast<std::uint64_t>(signed_form);

    // With '~' a fixed-point number gives up decimal places that its integer part makes needless.
    if (info.base == 10 && (flags & fixed) && sig_digits > 0 && sig_digits < max_digits) {
        const std::uint64_t limit = powers_of_10[static_cast<std::size_t>(sig_digits)];
        std::uint64_t div = 1;
        while (precision > 0 && value / div >= limit) {
            div *= 10;
            --precision;
        }
        // Half away from zero, without a sum that could wrap.
        if (div > 1)
            value = value / div + (value % div >= div / 2 ? 1 : 0);
    }

    // Behind the sign's place, the prefix of the alternative form.
    Ch prefix[4];
    Ch* prefix_first = prefix + 1;
    Ch* prefix_end = prefix_first;
    if ((flags & alt) && value != 0)
        for (const char* p = info.prefix; *p != 0; ++p)
            *prefix_end++ = static_cast<Ch>(*p);
    if (negative)
        *--prefix_first = '-';
    else if (flags & plus)
        *--prefix_first = '+';
    else if (flags & space)
        *--prefix_first = ' ';

    digit_text digits;
    do {
        digits.prepend(static_cast<Ch>(info.alphabet[value % info.base]));
        value /= info.base;
    } while (value != 0);
    if (flags & fixed)
        place_point(digits);
    else if (flags & group)
        info.base == 10 ? digits.separate(',', 3) : digits.separate(':', 4);
    emit_number(digits, prefix_first, static_cast<std::size_t>(prefix_end - prefix_first));
}

template <class Ch>
void format_base<Ch>::place_point(digit_text& digits) {
    if (precision <= 0)
        return;
    while (digits.length() <= precision)
        digits.prepend('0');
    const int places = precision;
    int dropped = 0;
    const Ch* last = digits.buffer + digits.capacity - 1;
    if (flags & alt)
        while (dropped < places && last[-dropped] == '0')
            ++dropped;
    precision = static_cast<std::int8_t>(places - dropped);
    // The integer part moves left by one place to make room for the point, then all moves right over what is
    // dropped.
    std::copy(digits.first, digits.first + digits.length() - places, digits.first - 1);
    --digits.first;
    Ch* point = digits.buffer + digits.capacity - places - 1;
    *point = '.';
    const int shift = dropped == places ? dropped + 1 : dropped;
    std::copy_backward(digits.first, digits.buffer + digits.capacity - shift,
                       digits.buffer + digits.capacity);
    digits.first += shift;
}

template <class Ch>
void format_base<Ch>::emit_number(digit_text& digits, const Ch* prefix, std::size_t prefix_length) {
    const int length = digits.length();
    int zeros = std::max(0, precision - length);
    int total = static_cast<int>(prefix_length) + zeros + length;
    if (total < width && !(flags & left)) {
        if (fill == '0') {
            zeros += width - total;
            total = width;
        } else {
            put_fill(fill, width - total);
        }
    }
    if (prefix_length != 0)
        put_text(prefix, prefix_length);
    if (zeros != 0)
        put_fill('0', zeros);
    put_text(digits.first, static_cast<std::size_t>(length));
    if (total < width && (flags & left))
        put_fill(' ', width - total);
    next();
}

template <class Ch>
void format_base<Ch>::emit_text(const Ch* text, std::size_t n) {
    if (precision >= 0)
        n = std::min(n, static_cast<std::size_t>(precision));
    const int missing = n < width ? static_cast<int>(width - n) : 0;
    if (missing != 0 && !(flags & left))
        put_fill(fill, missing);
    if (n != 0)
        put_text(text, n);
    if (missing != 0 && (flags & left))
        put_fill(' ', missing);
    next();
}

// Behind an argument: past its directive, whose state is reset, and on to the next one.
template <class Ch>
void format_base<Ch>::next() {
    if (*fmt != 0)
        ++fmt;
    width = 0;
    precision = -1;
    sig_digits = -1;
    flags = 0;
    star_sig = false;
    fill = ' ';
    scan(false);
}

template <class Ch>
void format_base<Ch>::finish() {
    if (*fmt == 0)
        return;
    ++fmt;
    scan(true);
}

template <class Ch>
std::basic_string<Ch> format_base<Ch>::str() {
    finish();
    return result();
}

template class format_base<char>;
template class format_base<wchar_t>;

} // namespace cl
