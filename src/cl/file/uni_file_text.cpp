// Characters and lines of a uni_file.
#include "cl/file/uni_file.hpp"
#include "cl/text/ascii_run.hpp"
#include "cl/text/text_convert.hpp"

#include <algorithm>
#include <iterator>
#include <typeinfo>
#include <utility>

namespace cl {

namespace {

// Short ways through the buffer, one for each encoding. `get` decodes one unit of [p, end), end > p, and
// returns the bytes it took, `put` encodes one into at most max_bytes bytes and returns their number; both
// return 0 for what they leave to the long way: broken sequences, pairs, the end of the buffer. `get_plain`
// and `put_plain` do the same for up to n units of plain text in a row and return how many it was; line ends
// and marks aren't plain. They may write all n units or bytes of their target.
constexpr std::ptrdiff_t max_bytes = 4;

struct utf8_code {
    static constexpr std::ptrdiff_t plain_bytes = 1;

    static int get(const std::uint8_t* p, const std::uint8_t* end, std::uint32_t& unit) {
        if (*p < 0x80) {
            unit = *p;
            return 1;
        }
        const int tail = utf8_tail_length(*p);
        if (tail < 1 || tail > 2 || end - p <= tail || !utf8_value(p, tail, unit))
            return 0;
        return 1 + tail;
    }
    static std::ptrdiff_t get_plain(const std::uint8_t* p, std::ptrdiff_t n, wchar_t* units) {
        return widen_ascii_run(p, n, units);
    }
    static int put(std::uint8_t* p, std::uint32_t unit) {
        return (unit & 0xF800) == 0xD800 ? 0 : put_utf8(p, unit);
    }
    static std::ptrdiff_t put_plain(std::uint8_t* p, const wchar_t* units, std::ptrdiff_t n) {
        return narrow_ascii_run(units, n, p);
    }
};

template <int Bytes, bool Big>
struct unit_code {
    static constexpr std::ptrdiff_t plain_bytes = Bytes;

    static int get(const std::uint8_t* p, const std::uint8_t* end, std::uint32_t& unit) {
        if (end - p < Bytes)
            return 0;
        unit = get_unit<Bytes, Big>(p);
        return unit <= 0xFFFF ? Bytes : 0;
    }
    static std::ptrdiff_t get_plain(const std::uint8_t* p, std::ptrdiff_t n, wchar_t* units) {
        std::ptrdiff_t done = 0;
        for (; done < n; ++done) {
            const std::uint32_t unit = get_unit<Bytes, Big>(p + done * Bytes);
            // One comparison for all: above CR, below the mark.
            if (unit - 0x0E >= mark_char - 0x0Eu)
                break;
            units[done] = static_cast<wchar_t>(unit);
        }
        return done;
    }
    static int put(std::uint8_t* p, std::uint32_t unit) {
        if (Bytes == 4 && (unit & 0xF800) == 0xD800)
            return 0;
        put_unit<Bytes, Big>(p, unit);
        return Bytes;
    }
    static std::ptrdiff_t put_plain(std::uint8_t* p, const wchar_t* units, std::ptrdiff_t n) {
        std::ptrdiff_t done = 0;
        for (; done < n; ++done) {
            const std::uint32_t unit = static_cast<std::uint16_t>(units[done]);
            if (Bytes == 4 && (unit & 0xF800) == 0xD800)
                break;
            put_unit<Bytes, Big>(p + done * Bytes, unit);
        }
        return done;
    }
};

// Written only: ANSI lines are read as bytes. Every ANSI code page holds ASCII as it is; a NUL goes the long
// way.
struct ansi_code {
    static constexpr std::ptrdiff_t plain_bytes = 1;

    static int put(std::uint8_t*, std::uint32_t) { return 0; }
    static std::ptrdiff_t put_plain(std::uint8_t* p, const wchar_t* units, std::ptrdiff_t n) {
        return narrow_ascii_run(units, n, p);
    }
};

} // namespace

bool uni_file::is_plain() const {
    return typeid(*this) == typeid(uni_file);
}

bool uni_file::get_wchar(wchar_t* out) {
    if (text_flags & has_pushback) {
        drop_char_pushback();
        *out = pushback;
        return true;
    }
    if (low_surrogate) {
        *out = std::exchange(low_surrogate, std::uint16_t{0});
        return true;
    }
    if (encoding == encoding_ansi)
        return file_hnd::get_char(out);
    std::uint32_t unit;
    do {
        if (!get_unit(unit))
            return false;
    } while (unit == mark_char && (text_flags & skip_bom_always));
    *out = static_cast<wchar_t>(unit);
    return true;
}

// One unit of the file, in any encoding but ANSI. The second unit of a pair stays in low_surrogate.
bool uni_file::get_unit(std::uint32_t& unit) {
    std::uint8_t b[6];
    const auto bytes = [&](int at, int n) { return read(b + at, n) == n; };
    const auto code_point = [&](std::uint32_t code) {
        const utf16_units units = to_units(code);
        unit = units.first;
        low_surrogate = units.low;
        return true;
    };
    switch (encoding) {
    case encoding_utf8: {
        if (!bytes(0, 1))
            return false;
        const int tail = utf8_tail_length(b[0]);
        if (tail > 0 && !bytes(1, tail))
            return false;
        std::uint32_t code;
        return code_point(tail >= 0 && utf8_value(b, tail, code) ? code : '?');
    }
    case encoding_utf16le:
        return bytes(0, 2) && (unit = cl::get_unit<2, false>(b), true);
    case encoding_utf16be:
        return bytes(0, 2) && (unit = cl::get_unit<2, true>(b), true);
    case encoding_utf32le:
        return bytes(0, 4) && code_point(cl::get_unit<4, false>(b));
    case encoding_utf32be:
        return bytes(0, 4) && code_point(cl::get_unit<4, true>(b));
    default:
        return false;
    }
}

bool uni_file::put_wchar(wchar_t c) {
    if (encoding == encoding_ansi)
        return file_hnd::put_char(c);
    std::uint32_t code = static_cast<std::uint16_t>(c);
    if (encoding != encoding_utf16le && encoding != encoding_utf16be) {
        if (is_high_surrogate(code)) {
            high_surrogate = static_cast<std::uint16_t>(code);
            return encoding < encoding_count;
        }
        if (is_low_surrogate(code) && high_surrogate)
            code = from_surrogates(std::exchange(high_surrogate, std::uint16_t{0}), code);
    }
    std::uint8_t b[4];
    int n = 4;
    switch (encoding) {
    case encoding_utf8:
        n = put_utf8(b, code);
        break;
    case encoding_utf16le:
        put_unit<2, false>(b, code);
        n = 2;
        break;
    case encoding_utf16be:
        put_unit<2, true>(b, code);
        n = 2;
        break;
    case encoding_utf32le:
        put_unit<4, false>(b, code);
        break;
    case encoding_utf32be:
        put_unit<4, true>(b, code);
        break;
    default:
        return false;
    }
    for (int i = 0; i < n; ++i)
        if (write(b + i, 1) != 1)
            return false;
    return true;
}

bool uni_file::read_line(std::wstring& out) {
    out.clear();
    if (encoding == encoding_ansi)
        return file_hnd::read_line(out); // NOLINT(bugprone-parent-virtual-call)
    const bool plain = is_plain();
    for (bool at_start = true;;) {
        if (plain && take_buffered_line(out))
            return true;
        at_start = at_start && out.empty();
        wchar_t c;
        if (!get_wchar(&c)) {
            eol = eol_none;
            return !out.empty();
        }
        if (c == L'\n') {
            eol = eol_lf;
            return true;
        }
        if (c == L'\r') {
            eol = eol_cr;
            if (get_wchar(&c)) {
                if (c == L'\n') {
                    eol = eol_crlf;
                } else {
                    pushback = static_cast<std::uint16_t>(c);
                    text_flags |= has_pushback;
                }
            }
            return true;
        }
        // The first character alone: a second mark stays.
        if (!(c == mark_char && at_start && (text_flags & skip_bom_at_line_start)))
            out += c;
        at_start = false;
    }
}

// Appends what the short way can take of the line, from one buffer after the other. True if the line's end
// was in it.
bool uni_file::take_buffered_line(std::wstring& out) {
    if ((text_flags & (has_pushback | skip_bom_always)) || low_surrogate || (mode & file_hnd::has_pushback) ||
        !(mode & can_read))
        return false;
    do {
        bool ended = false;
        switch (encoding) {
        case encoding_utf8:
            ended = take_line<utf8_code>(out);
            break;
        case encoding_utf16le:
            ended = take_line<unit_code<2, false>>(out);
            break;
        case encoding_utf16be:
            ended = take_line<unit_code<2, true>>(out);
            break;
        case encoding_utf32le:
            ended = take_line<unit_code<4, false>>(out);
            break;
        case encoding_utf32be:
            ended = take_line<unit_code<4, true>>(out);
            break;
        default:
            return false;
        }
        if (ended)
            return true;
    } while (read_pos == read_end && refill());
    return false;
}

template <class Code>
bool uni_file::take_line(std::wstring& out) {
    const auto* p = reinterpret_cast<const std::uint8_t*>(read_pos);
    const auto* const end = reinterpret_cast<const std::uint8_t*>(read_end);
    wchar_t run[256];
    std::ptrdiff_t n = 0;
    bool ended = false;
    while (p < end) {
        if (n == std::ssize(run)) {
            out.append(run, std::size(run));
            n = 0;
        }
        const std::ptrdiff_t plain =
            Code::get_plain(p, std::min((end - p) / Code::plain_bytes, std::ssize(run) - n), run + n);
        n += plain;
        p += plain * Code::plain_bytes;
        if (n == std::ssize(run) || p == end)
            continue;
        std::uint32_t unit;
        const int taken = Code::get(p, end, unit);
        if (!taken || unit == mark_char)
            break;
        if (unit == '\r') {
            std::uint32_t next;
            const int behind = end - p > taken ? Code::get(p + taken, end, next) : 0;
            if (!behind)
                break;
            p += taken + behind;
            eol = eol_crlf;
            if (next != '\n') {
                eol = eol_cr;
                pushback = static_cast<std::uint16_t>(next);
                text_flags |= has_pushback;
            }
            ended = true;
            break;
        }
        p += taken;
        if (unit == '\n') {
            eol = eol_lf;
            ended = true;
            break;
        }
        run[n++] = static_cast<wchar_t>(unit);
    }
    out.append(run, static_cast<std::size_t>(n));
    read_pos += p - reinterpret_cast<const std::uint8_t*>(read_pos);
    return ended;
}

bool uni_file::read_line(std::string& out) {
    if (encoding == encoding_ansi)
        return file_stream::read_line(out);
    std::wstring wide;
    const bool got = read_line(wide);
    out = wide_to_narrow(wide, 0);
    return got;
}

bool uni_file::write_text(const std::wstring& text) {
    if (is_plain())
        return put_run(text.data(), text.data() + text.size());
    for (const wchar_t c : text)
        if (!put_wchar(c))
            return false;
    return true;
}

bool uni_file::write_text(const std::string& text) {
    return write_text(narrow_to_wide(text, 0));
}

bool uni_file::put_run(const wchar_t* p, const wchar_t* end) {
    while (p < end) {
        switch (encoding) {
        case encoding_ansi:
            p = put_buffered<ansi_code>(p, end);
            break;
        case encoding_utf8:
            p = put_buffered<utf8_code>(p, end);
            break;
        case encoding_utf16le:
            p = put_buffered<unit_code<2, false>>(p, end);
            break;
        case encoding_utf16be:
            p = put_buffered<unit_code<2, true>>(p, end);
            break;
        case encoding_utf32le:
            p = put_buffered<unit_code<4, false>>(p, end);
            break;
        case encoding_utf32be:
            p = put_buffered<unit_code<4, true>>(p, end);
            break;
        default:
            break;
        }
        if (p == end)
            break;
        // A full buffer is written and used on. What else the short way left is one character, or the first
        // of all.
        if (write_end != buf.get() && write_pos == write_end) {
            if (!flush_writes())
                return false;
            write_end = buf.get() + buf_size;
        } else if (!put_wchar(*p++)) {
            return false;
        }
    }
    return true;
}

// Encodes straight into the buffer while it is in write use and has room for any character.
template <class Code>
const wchar_t* uni_file::put_buffered(const wchar_t* p, const wchar_t* end) {
    auto* to = reinterpret_cast<std::uint8_t*>(write_pos);
    const auto* const limit = reinterpret_cast<const std::uint8_t*>(write_end);
    while (p < end) {
        const std::ptrdiff_t plain =
            Code::put_plain(to, p, std::min(end - p, (limit - to) / Code::plain_bytes));
        to += plain * Code::plain_bytes;
        p += plain;
        if (p == end || limit - to < max_bytes)
            break;
        const int n = Code::put(to, static_cast<std::uint16_t>(*p));
        if (!n)
            break;
        to += n;
        ++p;
    }
    write_pos += to - reinterpret_cast<const std::uint8_t*>(write_pos);
    return p;
}

bool uni_file::put_char(wchar_t c) {
    return put_wchar(c);
}

bool uni_file::put_char(char c) {
    const char bytes[2] = {c, 0};
    wchar_t wide[2];
    ansi_to_wide_buf(wide, bytes, 2);
    return put_wchar(wide[0]);
}

bool uni_file::get_char(wchar_t* out) {
    return get_wchar(out);
}

bool uni_file::get_char(char* out) {
    if (!pending_byte) {
        wchar_t wide[2] = {};
        if (!get_wchar(wide))
            return false;
        wide_to_ansi_buf(ansi_char, wide, sizeof ansi_char);
        pending_byte = ansi_char;
    }
    *out = *pending_byte;
    if (!*pending_byte || !*++pending_byte)
        pending_byte = nullptr;
    return true;
}

} // namespace cl
