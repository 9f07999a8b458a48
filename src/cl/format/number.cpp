// The long way of an integer: every letter, flag, precision and width.
#include "cl/format/digits.hpp"
#include "cl/format/engine.hpp"

#include <algorithm>
#include <utility>

namespace cl {

namespace {

using namespace detail;

// The longest digits have the largest precision: 127 places, the point and a digit before it.
constexpr std::size_t max_digits = 132;

template <class Ch>
conversion conversion_of(Ch letter) {
    const auto c = static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<Ch>>(letter));
    return c < letters.size() ? letters[c] : conversion::signed_decimal;
}

// The sign and the prefix of the alternative form; the first character in the lowest byte.
struct lead {
    std::uint32_t text = 0;
    int length = 0;

    lead(std::uint8_t flags, bool negative) {
        if (negative)
            append('-');
        else if (flags & (flag_plus | flag_space))
            append(flags & flag_plus ? '+' : ' ');
    }
    void append(char c) { text |= static_cast<std::uint32_t>(c) << 8 * length++; }
    template <class Ch>
    Ch* write(Ch* out) const {
        for (std::uint32_t rest = text; rest != 0; rest >>= 8)
            *out++ = static_cast<Ch>(rest & 0xFF);
        return out;
    }
};

// A fixed-point value gives up decimal places, and the precision goes down with them.
template <class Ch>
std::uint64_t shorten(directive<Ch>& d, std::uint64_t value) {
    // With '~' those that its integer part makes needless; it is rounded half away from zero. No number has
    // as many digits as the largest power.
    if (d.sig_digits > 0 && d.sig_digits < max_decimal) {
        const std::uint64_t limit = powers_of_10[static_cast<std::size_t>(d.sig_digits)];
        std::uint64_t div = 1;
        for (; d.precision > 0 && value / div >= limit; --d.precision)
            div *= 10;
        if (div > 1)
            value = value / div + (value % div >= div / 2 ? 1 : 0);
    }
    // In the alternative form zeros at the end.
    if (d.flags & flag_alt)
        for (; d.precision > 0 && value % 10 == 0; --d.precision)
            value /= 10;
    return value;
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

namespace detail {

// What lies between the letter's meaning and the target.
template <class Ch>
struct number_printer {
    using window = typename format_base<Ch>::window;

    format_base<Ch>& f;
    directive<Ch>& d;

    [[gnu::always_inline]] window decimal(std::uint64_t value, bool negative) {
        enum { plain, grouped, pointed } style = plain;
        if (d.flags & flag_fixed)
            value = shorten(d, value);
        int length = decimal_length(value);
        if ((d.flags & (flag_fixed | flag_group)) != 0) {
            if ((d.flags & flag_fixed) == 0) {
                style = grouped;
                length += (length - 1) / 3;
            } else if (d.precision > 0) {
                style = pointed;
                length = std::max<int>(length, d.precision + 1) + 1;
            }
        }
        const int places = d.precision;
        return emit_number(lead(d.flags, negative), length, [=](Ch* end) {
            if (style == plain)
                write_decimal(end, value);
            else if (style == grouped)
                write_grouped(end, value);
            else
                write_pointed(end, value, places);
        });
    }

    window radix(std::uint64_t value, char letter) {
        const radix_info& info = radix_of(letter);
        if (letter == 'p')
            d.flags |= flag_alt;
        lead ahead(d.flags, false);
        if ((d.flags & flag_alt) && value != 0)
            for (const char* p = info.prefix; *p != 0; ++p)
                ahead.append(*p);
        const int length = radix_length(value, info.shift);
        if ((d.flags & (flag_fixed | flag_group)) == 0)
            return emit_number(ahead, length,
                               [=](Ch* end) { write_radix(end, value, info.shift, info.alphabet); });

        decorated_digits<Ch> digits;
        digits.length = length;
        write_radix(digits.text + length, value, info.shift, info.alphabet);
        if ((d.flags & flag_fixed) == 0)
            digits.separate();
        else if (d.precision > 0)
            d.precision =
                static_cast<std::int8_t>(digits.place_point(d.precision, (d.flags & flag_alt) != 0));
        return emit_number(ahead, digits.length, [&](Ch* end) {
            for (int i = digits.length; i > 0; --i)
                *--end = digits.text[i - 1];
        });
    }

    // `write` puts the digits, `length` characters, so that they end at an end pointer.
    template <class Write>
    window emit_number(const lead& ahead, int length, const Write& write) {
        int zeros = std::max(d.precision - length, 0);
        int missing = d.width - ahead.length - zeros - length;
        int behind = 0;
        if (missing <= 0)
            missing = 0;
        else if (d.flags & flag_left)
            behind = std::exchange(missing, 0);
        else if (d.fill == '0')
            zeros += std::exchange(missing, 0);
        window w = f.open();
        if (missing + ahead.length + zeros + length + behind <= w.room()) [[likely]] {
            Ch* out = repeat(w.out, Ch{' '}, missing);
            out = repeat(ahead.write(out), Ch{'0'}, zeros) + length;
            write(out);
            return {repeat(out, Ch{' '}, behind), w.limit};
        }
        Ch text[max_digits];
        if (missing != 0)
            w = f.fill_in(w, ' ', missing);
        if (ahead.length != 0)
            w = f.text_in(w, text, static_cast<std::size_t>(ahead.write(text) - text));
        if (zeros != 0)
            w = f.fill_in(w, '0', zeros);
        write(text + length);
        w = f.text_in(w, text, static_cast<std::size_t>(length));
        return behind != 0 ? f.fill_in(w, ' ', behind) : w;
    }
};

} // namespace detail

template <class Ch>
format_base<Ch>& format_base<Ch>::full_number(std::int64_t signed_form, std::uint64_t unsigned_form,
                                              char default_letter) {
    if (d.has_star()) {
        d.take_star(static_cast<std::uint8_t>(unsigned_form));
        return *this;
    }
    detail::number_printer<Ch> printer{*this, d};
    Ch letter = *fmt;
    if (conversion_of(letter) == conversion::default_letter)
        letter = static_cast<Ch>(default_letter);
    const conversion c = conversion_of(letter);
    if (c == conversion::radix)
        return next(printer.radix(unsigned_form, static_cast<char>(letter)));
    if (c == conversion::character) {
        const Ch character = static_cast<Ch>(unsigned_form & (std::same_as<Ch, char> ? 0xFF : 0xFFFF));
        return next(emit_text(open(), &character, character != 0 ? 1 : 0));
    }
    const bool is_signed = c == conversion::signed_decimal;
    const bool negative = is_signed && signed_form < 0;
    const std::uint64_t bits = is_signed ? static_cast<std::uint64_t>(signed_form) : unsigned_form;
    return next(printer.decimal(negative ? 0 - bits : bits, negative));
}

template format_base<char>& format_base<char>::full_number(std::int64_t, std::uint64_t, char);
template format_base<wchar_t>& format_base<wchar_t>::full_number(std::int64_t, std::uint64_t, char);

} // namespace cl
