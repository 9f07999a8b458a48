// Characters and lines of a uni_file.
#include "cl/file/text_convert.hpp"
#include "cl/file/uni_file.hpp"

#include <typeinfo>
#include <utility>

namespace cl {

namespace {

// Short ways through the buffer, one for each encoding. `get` decodes one unit of [p, end), end > p, and
// returns the bytes it took, `put` encodes one into at most four bytes and returns their number; both return
// 0 for what they leave to the long way: broken sequences, pairs, the end of the buffer.
struct utf8_code {
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
    static int put(std::uint8_t* p, std::uint32_t unit) {
        return (unit & 0xF800) == 0xD800 ? 0 : put_utf8(p, unit);
    }
};

template <int Bytes, bool Big>
struct unit_code {
    static int get(const std::uint8_t* p, const std::uint8_t* end, std::uint32_t& unit) {
        if (end - p < Bytes)
            return 0;
        unit = get_unit<Bytes, Big>(p);
        return unit <= 0xFFFF ? Bytes : 0;
    }
    static int put(std::uint8_t* p, std::uint32_t unit) {
        if (Bytes == 4 && (unit & 0xF800) == 0xD800)
            return 0;
        put_unit<Bytes, Big>(p, unit);
        return Bytes;
    }
};

// Written only: ANSI lines are read as bytes. Every ANSI code page holds ASCII as it is.
struct ansi_code {
    static int put(std::uint8_t* p, std::uint32_t unit) {
        *p = static_cast<std::uint8_t>(unit);
        return unit > 0 && unit < 0x80;
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
        return file_hnd::read_line(out);
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

// Appends what the buffer holds of the line, as far as the short way goes. True if the line's end was in it.
bool uni_file::take_buffered_line(std::wstring& out) {
    if ((text_flags & (has_pushback | skip_bom_always)) || low_surrogate || (mode & file_hnd::has_pushback))
        return false;
    switch (encoding) {
    case encoding_utf8:
        return take_line<utf8_code>(out);
    case encoding_utf16le:
        return take_line<unit_code<2, false>>(out);
    case encoding_utf16be:
        return take_line<unit_code<2, true>>(out);
    case encoding_utf32le:
        return take_line<unit_code<4, false>>(out);
    case encoding_utf32be:
        return take_line<unit_code<4, true>>(out);
    default:
        return false;
    }
}

template <class Code>
bool uni_file::take_line(std::wstring& out) {
    const auto* p = reinterpret_cast<const std::uint8_t*>(read_pos);
    const auto* const end = reinterpret_cast<const std::uint8_t*>(read_end);
    wchar_t run[256];
    std::size_t n = 0;
    bool ended = false;
    while (p < end) {
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
        if (n == std::size(run)) {
            out.append(run, n);
            n = 0;
        }
    }
    out.append(run, n);
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
        // What the short way left: one character, after which it may go on.
        if (p < end && !put_wchar(*p++))
            return false;
    }
    return true;
}

// Encodes straight into the buffer while it is in write use and has room for any character.
template <class Code>
const wchar_t* uni_file::put_buffered(const wchar_t* p, const wchar_t* end) {
    auto* to = reinterpret_cast<std::uint8_t*>(write_pos);
    const auto* const limit = reinterpret_cast<const std::uint8_t*>(write_end);
    while (p < end && limit - to >= 4) {
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
