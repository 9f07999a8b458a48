#include "cl/format/format.hpp"

#include "cl/format/digits.hpp"
#include "cl/os/text.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace cl {

namespace {

using detail::conversion;

// A pointer into the first page is held to be no text.
bool is_null(const void* text) {
    return reinterpret_cast<std::uintptr_t>(text) < 4096;
}

template <class Ch>
bool is_digit(Ch c) {
    return c >= '0' && c <= '9';
}

template <class Ch>
conversion conversion_of(Ch letter) {
    const auto c = static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<Ch>>(letter));
    return c < detail::letters.size() ? detail::letters[c] : conversion::signed_decimal;
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

// The longest digits of a number have the largest precision: 127 places, the point and a digit ahead of it.
constexpr std::size_t max_digits = 132;

std::uint64_t magnitude(std::int64_t value) {
    return value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
}

// Few characters most of the time.
template <class Ch>
Ch* repeat(Ch* out, Ch c, int count) {
    for (; count > 0; --count)
        *out++ = c;
    return out;
}

// Digits in a buffer of their own, with what is put between them: the way of the radix letters with a point
// or groups, which nobody prints in a hurry.
template <class Ch>
struct decorated_digits {
    Ch text[max_digits];
    int length;

    // A separator after every four digits, counted from the right.
    void separate() {
        for (int from_end = 4; from_end < length; from_end += 5)
            insert(length - from_end, ':');
    }

    // Returns how many places are left; `shorten` drops zeros at the end.
    int place_point(int places, bool shorten) {
        while (length <= places)
            insert(0, '0');
        insert(length - places, '.');
        if (shorten) {
            for (; text[length - 1] == '0'; --length)
                --places;
            if (text[length - 1] == '.')
                --length;
        }
        return places;
    }

    void insert(int at, Ch c) {
        std::copy_backward(text + at, text + length, text + length + 1);
        text[at] = c;
        ++length;
    }
};

} // namespace

// What stands ahead of the digits: the sign, then the prefix of the alternative form; the first character in
// the lowest byte.
template <class Ch>
struct format_base<Ch>::lead {
    std::uint32_t text = 0;
    int length = 0;

    lead(std::uint8_t set, bool negative) {
        if (negative)
            append('-');
        else if (set & (plus | space))
            append(set & plus ? '+' : ' ');
    }
    void append(char c) { text |= static_cast<std::uint32_t>(c) << 8 * length++; }
    Ch* write(Ch* out) const {
        for (std::uint32_t rest = text; rest != 0; rest >>= 8)
            *out++ = static_cast<Ch>(rest & 0xFF);
        return out;
    }
};

// What has been written is in the target from here on.
template <class Ch>
void format_base<Ch>::close(window w) {
    *at_ = w.out;
    if (staged_ && w.limit == limit_)
        put_text(w.out, 0);
}

template <class Ch>
auto format_base<Ch>::slot_fill(window w, Ch c, int count) -> window {
    *at_ = w.out;
    put_fill(c, count);
    return open();
}

template <class Ch>
auto format_base<Ch>::slot_text(window w, const Ch* text, std::size_t n) -> window {
    *at_ = w.out;
    put_text(text, n);
    return open();
}

template <class Ch>
inline auto format_base<Ch>::fill_in(window w, Ch c, int count) -> window {
    if (count > w.room()) [[unlikely]]
        return slot_fill(w, c, count);
    return {repeat(w.out, c, count), w.limit};
}

template <class Ch>
inline auto format_base<Ch>::text_in(window w, const Ch* text, std::size_t n) -> window {
    if (static_cast<std::ptrdiff_t>(n) > w.room()) [[unlikely]]
        return slot_text(w, text, n);
    return {std::copy_n(text, n, w.out), w.limit};
}

template <class Ch>
void format_base<Ch>::scan_format(const Ch* format) {
    fmt = format ? format : no_text;
    close(scan(open()));
}

// Emits literal text up to the next directive, and parses that.
template <class Ch>
inline auto format_base<Ch>::scan(window w) -> window {
    const Ch* f = fmt;
    for (;;) {
        const Ch c = *f;
        if (c == '%') {
            ++f;
            if (*f != '%') {
                fmt = *f == '?' ? f : parse(f);
                return w;
            }
        } else if (c == 0) {
            fmt = f;
            return w;
        }
        ++f;
        if (w.out < w.limit) [[likely]]
            *w.out++ = c;
        else
            w = slot_fill(w, c, 1);
    }
}

// Reads a directive from behind its percent sign; returns where its letter stands.
template <class Ch>
const Ch* format_base<Ch>::parse(const Ch* f) {
    bare = false;
    // No flag stands above '0' in the alphabet.
    for (; *f <= '0'; ++f) {
        if (*f == '0')
            fill = '0';
        else if (*f == ',')
            flags |= fixed;
        else if (*f == '\'')
            flags |= group;
        else if (*f == '#')
            flags |= alt;
        else if (*f == '-')
            flags |= left;
        else if (*f == '+')
            flags |= plus;
        else if (*f == ' ')
            flags |= space;
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

// An integer serves what a '*' left open. Its low byte counts, as a signed number: a width of 200 is -56,
// left-aligned in 56 places. Deliberate.
template <class Ch>
void format_base<Ch>::take_star(std::uint8_t value) {
    const auto number = static_cast<std::int8_t>(value);
    if (flags & star_width) {
        flags = static_cast<std::uint8_t>(flags & ~star_width);
        width = static_cast<std::uint8_t>(number < 0 ? -number : number);
        if (number < 0)
            flags |= left;
    } else if (flags & star_precision) {
        flags = static_cast<std::uint8_t>(flags & ~star_precision);
        precision = std::max(number, std::int8_t{-1});
    } else {
        star_sig = false;
        sig_digits = std::max(number, std::int8_t{-1});
    }
}

template <class Ch>
format_base<Ch>& format_base<Ch>::arg32(std::int32_t signed_form, std::uint32_t unsigned_form,
                                        char default_letter) {
    return arg64(signed_form, unsigned_form, default_letter);
}

template <class Ch>
format_base<Ch>& format_base<Ch>::arg64(std::int64_t signed_form, std::uint64_t unsigned_form,
                                        char default_letter) {
    if (bare && *fmt == '?') {
        window w = open();
        const bool negative = default_letter == 'd' && signed_form < 0;
        const std::uint64_t value = negative ? magnitude(signed_form) : unsigned_form;
        const int length = detail::decimal_length(value) + negative;
        if (length <= w.room()) [[likely]] {
            if (negative)
                *w.out = '-';
            w.out += length;
            detail::write_decimal(w.out, value);
            ++fmt;
            close(scan(w));
            return *this;
        }
    }
    if ((flags & (star_width | star_precision)) != 0 || star_sig)
        take_star(static_cast<std::uint8_t>(unsigned_form));
    else
        close(next(number(open(), signed_form, unsigned_form, default_letter)));
    return *this;
}

// A text can't stand in for a '*'. Under a pointer's letter its address is the argument, and it isn't looked
// at.
template <class Ch>
inline bool format_base<Ch>::pointer_letter(const void* text) {
    flags = static_cast<std::uint8_t>(flags & ~(star_width | star_precision));
    star_sig = false;
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
    if (!bare && pointer_letter(text))
        return *this;
    if (is_null(text)) {
        text = null_text;
        n = null_word ? std::size(null_text) : 0;
    } else if (n == to_zero) {
        n = text_length(text, precision);
    }
    close(next(emit_text(open(), text, n)));
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
        return own_text(bytes.data(), bytes.size(), true);
    }
}

template <class Ch>
inline auto format_base<Ch>::number(window w, std::int64_t signed_form, std::uint64_t unsigned_form,
                                    char default_letter) -> window {
    conversion c = conversion_of(*fmt);
    if (c == conversion::default_letter)
        c = default_letter == 'u' ? conversion::unsigned_decimal : conversion::signed_decimal;
    if (c == conversion::radix)
        return radix(w, unsigned_form, static_cast<char>(*fmt));
    if (c == conversion::character) {
        const Ch character = static_cast<Ch>(unsigned_form & (std::same_as<Ch, char> ? 0xFF : 0xFFFF));
        return emit_text(w, &character, character != 0 ? 1 : 0);
    }
    if (c == conversion::unsigned_decimal)
        return decimal(w, unsigned_form, false);
    return decimal(w, magnitude(signed_form), signed_form < 0);
}

// A fixed-point value gives up decimal places, and `precision` goes down with them.
template <class Ch>
std::uint64_t format_base<Ch>::shorten(std::uint64_t value) {
    // With '~' those that its integer part makes needless; it is rounded half away from zero. No number has
    // as many digits as the largest power.
    if (sig_digits > 0 && sig_digits < detail::max_decimal) {
        const std::uint64_t limit = detail::powers_of_10[static_cast<std::size_t>(sig_digits)];
        std::uint64_t div = 1;
        for (; precision > 0 && value / div >= limit; --precision)
            div *= 10;
        if (div > 1)
            value = value / div + (value % div >= div / 2 ? 1 : 0);
    }
    // In the alternative form zeros at the end.
    if (flags & alt)
        for (; precision > 0 && value % 10 == 0; --precision)
            value /= 10;
    return value;
}

template <class Ch>
inline auto format_base<Ch>::decimal(window w, std::uint64_t value, bool negative) -> window {
    enum { plain, grouped, pointed } form = plain;
    if (flags & fixed)
        value = shorten(value);
    int length = detail::decimal_length(value);
    if ((flags & (fixed | group)) != 0) {
        if ((flags & fixed) == 0) {
            form = grouped;
            length += (length - 1) / 3;
        } else if (precision > 0) {
            form = pointed;
            length = std::max<int>(length, precision + 1) + 1;
        }
    }
    const int places = precision;
    return emit_number(w, lead(flags, negative), length, [=](Ch* end) {
        if (form == plain)
            detail::write_decimal(end, value);
        else if (form == grouped)
            detail::write_grouped(end, value);
        else
            detail::write_pointed(end, value, places);
    });
}

template <class Ch>
auto format_base<Ch>::radix(window w, std::uint64_t value, char letter) -> window {
    const detail::radix_info& info = detail::radix_of(letter);
    if (letter == 'p')
        flags |= alt;
    lead ahead(flags, false);
    if ((flags & alt) && value != 0)
        for (const char* p = info.prefix; *p != 0; ++p)
            ahead.append(*p);
    const int length = detail::radix_length(value, info.shift);
    if ((flags & (fixed | group)) == 0)
        return emit_number(w, ahead, length,
                           [=](Ch* end) { detail::write_radix(end, value, info.shift, info.alphabet); });

    decorated_digits<Ch> digits;
    digits.length = length;
    detail::write_radix(digits.text + length, value, info.shift, info.alphabet);
    if ((flags & fixed) == 0)
        digits.separate();
    else if (precision > 0)
        precision = static_cast<std::int8_t>(digits.place_point(precision, (flags & alt) != 0));
    return emit_number(w, ahead, digits.length,
                       [&](Ch* end) { std::copy_n(digits.text, digits.length, end - digits.length); });
}

// `write` puts the digits, `length` characters, ahead of an end pointer.
template <class Ch>
template <class Write>
inline auto format_base<Ch>::emit_number(window w, lead ahead, int length, const Write& write) -> window {
    int zeros = std::max(precision - length, 0);
    int missing = width - ahead.length - zeros - length;
    int behind = 0;
    if (missing <= 0)
        missing = 0;
    else if (flags & left)
        behind = std::exchange(missing, 0);
    else if (fill == '0')
        zeros += std::exchange(missing, 0);
    if (missing + ahead.length + zeros + length + behind <= w.room()) [[likely]] {
        Ch* out = repeat(w.out, Ch{' '}, missing);
        out = repeat(ahead.write(out), Ch{'0'}, zeros) + length;
        write(out);
        return {repeat(out, Ch{' '}, behind), w.limit};
    }
    Ch text[max_digits];
    if (missing != 0)
        w = fill_in(w, ' ', missing);
    if (ahead.length != 0)
        w = text_in(w, text, static_cast<std::size_t>(ahead.write(text) - text));
    if (zeros != 0)
        w = fill_in(w, '0', zeros);
    write(text + length);
    w = text_in(w, text, static_cast<std::size_t>(length));
    return behind != 0 ? fill_in(w, ' ', behind) : w;
}

template <class Ch>
inline auto format_base<Ch>::emit_text(window w, const Ch* text, std::size_t n) -> window {
    if (precision >= 0)
        n = std::min(n, static_cast<std::size_t>(precision));
    const int missing = n < width ? static_cast<int>(width - n) : 0;
    if (missing != 0 && (flags & left) == 0)
        w = fill_in(w, fill, missing);
    if (n != 0)
        w = text_in(w, text, n);
    return missing != 0 && (flags & left) != 0 ? fill_in(w, ' ', missing) : w;
}

// Behind an argument: past its directive, whose state is reset, and on to the next one.
template <class Ch>
inline auto format_base<Ch>::next(window w) -> window {
    if (*fmt != 0)
        ++fmt;
    if (bare)
        return scan(w);
    bare = true;
    width = 0;
    precision = -1;
    sig_digits = -1;
    flags = 0;
    star_sig = false;
    fill = ' ';
    return scan(w);
}

template <class Ch>
void format_base<Ch>::finish() {
    if (*fmt == 0)
        return;
    ++fmt;
    window w = scan(open());
    // The letter of a further directive is literal text; one that is itself a percent sign is scanned like
    // any other.
    while (*fmt != 0) {
        if (*fmt != '%')
            w = fill_in(w, *fmt++, 1);
        w = scan(w);
    }
    close(w);
}

template <class Ch>
std::basic_string<Ch> format_base<Ch>::str() {
    finish();
    return result();
}

template class format_base<char>;
template class format_base<wchar_t>;

} // namespace cl
