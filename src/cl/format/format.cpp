// The entries of the engine, texts, and the short way of an integer.
#include "cl/format/format.hpp"

#include "cl/format/digits.hpp"
#include "cl/format/engine.hpp"
#include "cl/os/text.hpp"

#include <iterator>

namespace cl {

namespace {

// A pointer into the first page is held to be no text.
bool is_null(const void* text) {
    return reinterpret_cast<std::uintptr_t>(text) < 4096;
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
void format_base<Ch>::scan_format(const Ch* format) {
    at_end = false;
    scan<false>(format ? format : no_text, open());
}

// The character that a slot is called for stands for the directive that waits: if the slot throws, finish()
// goes on after it.
template <class Ch>
auto format_base<Ch>::slot_literal(window w, const Ch* f) -> window {
    fmt = f;
    at_end = false;
    return slot_fill(w, *f, 1);
}

// Goes on with slots where the window has no room for the character at f.
template <class Ch>
format_base<Ch>& format_base<Ch>::scan_slots(const Ch* f, window w) {
    w = slot_literal(w, f);
    return scan<true>(f + 1, w);
}

// The directives that parse() isn't needed for: a width of one digit, as in %02? or %4?.
template <class Ch>
inline bool format_base<Ch>::take_short_directive() {
    const bool zero = *fmt == '0';
    const Ch* const f = fmt + zero;
    if (*f < '1' || *f > '9' || f[1] != '?')
        return false;
    if (zero)
        d.fill = '0';
    d.width = static_cast<std::uint8_t>(d.width * 10 + (*f - '0'));
    fmt = f + 1;
    return true;
}

// The position is on the letter before the slot, which may throw, is called.
template <class Ch>
format_base<Ch>& format_base<Ch>::settle(window w) {
    if (!at_end && !take_short_directive()) {
        fmt = d.parse(fmt);
        at_end = *fmt == 0;
    }
    if (staged_ && w.limit == limit_)
        put_text(w.out, 0);
    return *this;
}

template <class Ch>
format_base<Ch>& format_base<Ch>::decimal(std::int64_t signed_form, std::uint64_t unsigned_form,
                                          char default_letter) {
    if (d.full || at_end)
        return full_number(signed_form, unsigned_form, default_letter);
    const bool negative = default_letter != 'u' && signed_form < 0;
    const std::uint64_t value = negative ? 0 - static_cast<std::uint64_t>(signed_form) : unsigned_form;
    const int length = detail::decimal_length(value) + negative;
    const int missing = std::max(d.width - length, 0);
    window w = open();
    if (length + missing > w.room()) [[unlikely]]
        return full_number(signed_form, unsigned_form, default_letter);
    Ch* sign = w.out;
    if (missing > 0) {
        // Blanks go before the sign, zeros after it.
        if (d.fill == '0')
            repeat(w.out + negative, Ch{'0'}, missing);
        else
            sign = repeat(w.out, Ch{' '}, missing);
        w.out += missing;
    }
    w.out += length;
    detail::write_decimal(w.out, value);
    if (negative)
        *sign = '-';
    d = {};
    return scan<false>(fmt + 1, w);
}

// A text can't stand in for a '*'. Under a pointer's letter its address is the argument, and it isn't looked
// at.
template <class Ch>
bool format_base<Ch>::takes_address(const void* text) {
    d.drop_stars();
    if (*fmt != 'x' && *fmt != 'X' && *fmt != 'p')
        return false;
    d.flags |= detail::flag_alt;
    const auto address = reinterpret_cast<std::uintptr_t>(text);
    arg64(static_cast<std::int64_t>(address), address, 'u');
    return true;
}

template <class Ch>
format_base<Ch>& format_base<Ch>::own_text(const Ch* text, std::size_t n, bool null_word) {
    static constexpr Ch null_text[] = {'(', 'n', 'u', 'l', 'l', ')'};
    if (d.full && takes_address(text))
        return *this;
    if (is_null(text)) {
        text = null_text;
        n = null_word ? std::size(null_text) : 0;
    } else if (n == to_zero) {
        n = text_length(text, d.precision);
    }
    return next(emit_text(open(), text, n));
}

template <class Ch>
format_base<Ch>& format_base<Ch>::arg_wtext(const wchar_t* text, std::size_t n, bool null_word) {
    if constexpr (std::same_as<Ch, wchar_t>) {
        return own_text(text, n, null_word);
    } else {
        if (d.full && takes_address(text))
            return *this;
        if (is_null(text))
            return own_text(nullptr, 0, null_word);
        if (n == to_zero)
            n = text_length(text, d.precision);
        std::string bytes(os::from_utf16(0, text, n, nullptr, 0), '\0');
        bytes.resize(os::from_utf16(0, text, n, bytes.data(), bytes.size()));
        return own_text(bytes.data(), bytes.size(), true);
    }
}

template <class Ch>
void format_base<Ch>::finish_rest() {
    scan<false>(fmt + 1, open());
    // The letter of a further directive is literal text; one that is itself a percent sign is scanned like
    // any other.
    while (!at_end) {
        if (*fmt == '%')
            scan<false>(fmt, open());
        else
            scan<false>(fmt + 1, fill_in(open(), *fmt, 1));
    }
}

template <class Ch>
std::basic_string<Ch> format_base<Ch>::str() {
    finish();
    return result();
}

template class format_base<char>;
template class format_base<wchar_t>;

} // namespace cl
