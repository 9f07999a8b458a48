// The inner functions of format_base that its entries share, in the files of the engine alone.
#pragma once

#include "cl/format/format.hpp"

#include <algorithm>

namespace cl {

// Few characters most of the time.
template <class Ch>
Ch* repeat(Ch* out, Ch c, int count) {
    for (; count > 0; --count)
        *out++ = c;
    return out;
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

// Emits literal text up to the next directive, parses that, and leaves what has been written in the target.
// Rare cases are tail calls, so that the common path needs no stack frame.
template <class Ch>
template <bool Slots>
inline format_base<Ch>& format_base<Ch>::scan(const Ch* f, window w) {
    for (;; ++f) {
        Ch c = *f;
        // Most characters stand above the percent sign.
        if (static_cast<std::make_unsigned_t<Ch>>(c) <= '%') {
            if (c == 0) {
                at_end = true;
                break;
            }
            if (c == '%') {
                c = *++f;
                if (c != '%')
                    break;
            }
        }
        if (w.out < w.limit) [[likely]]
            *w.out++ = c;
        else if constexpr (Slots)
            w = slot_literal(w, f);
        else
            return scan_slots(f, w);
    }
    fmt = f;
    *at_ = w.out;
    if (staged_ || (*f != '?' && !at_end)) [[unlikely]]
        return settle(w);
    return *this;
}

// After an argument: past its directive, whose settings are reset, and on to the next one.
template <class Ch>
inline format_base<Ch>& format_base<Ch>::next(window w) {
    d = {};
    return scan<false>(at_end ? fmt : fmt + 1, w);
}

template <class Ch>
inline auto format_base<Ch>::emit_text(window w, const Ch* text, std::size_t n) -> window {
    if (d.precision >= 0)
        n = std::min(n, static_cast<std::size_t>(d.precision));
    const int missing = n < d.width ? static_cast<int>(d.width - n) : 0;
    if (missing != 0 && (d.flags & detail::flag_left) == 0)
        w = fill_in(w, d.fill, missing);
    if (n != 0)
        w = text_in(w, text, n);
    return missing != 0 && (d.flags & detail::flag_left) != 0 ? fill_in(w, ' ', missing) : w;
}

} // namespace cl
