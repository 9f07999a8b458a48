// A text file as a string of bytes and a position, one unit at a time and without any buffer: what a uni_file
// has to look like from outside. ANSI is taken for a code page of single bytes, and its conversions for
// granted.
#pragma once

#include "cl/text/text_convert.hpp"

#include <algorithm>
#include <cstdint>
#include <string>

struct naive_text {
    std::string bytes;
    std::uint32_t encoding = 0;
    std::int64_t mark = 0; // length of the byte order mark
    std::int64_t pos = 0;  // from the start of the file
    int low = -1, high = -1, pushback = -1;
    int eol = 0;
    int byte() {
        return pos < size() ? static_cast<unsigned char>(bytes[static_cast<std::size_t>(pos++)]) : -1;
    }
    std::int64_t size() const { return static_cast<std::int64_t>(bytes.size()); }
    std::string read(std::int64_t n) {
        std::string got;
        for (int b; n > 0 && (b = byte()) >= 0; --n)
            got += static_cast<char>(b);
        return got;
    }
    void write(const std::string& data) {
        if (!data.empty())
            bytes.resize(
                static_cast<std::size_t>(std::max(size(), pos + static_cast<std::int64_t>(data.size()))));
        std::copy(data.begin(), data.end(), bytes.begin() + std::min(pos, size()));
        pos += static_cast<std::int64_t>(data.size());
    }
    std::int64_t seek(std::int64_t offset, int origin) {
        pushback = -1;
        const std::int64_t to = offset + (origin == 0 ? mark : origin == 1 ? pos : size());
        return to < 0 ? -1 : (pos = to) - mark;
    }
    // The value of n bytes, -1 if they aren't there.
    std::int64_t number(int n, bool big) {
        std::int64_t value = 0;
        for (int i = 0; i < n && value >= 0; ++i) {
            const std::int64_t b = byte();
            value = b < 0 ? -1 : big ? value * 256 + b : value + (b << 8 * i);
        }
        return value;
    }
    std::int64_t utf8() {
        const std::int64_t lead = byte();
        if (lead < 0x80)
            return lead;
        int ones = 0;
        while (ones < 8 && (lead & (0x80 >> ones)))
            ++ones;
        if (ones < 2 || ones > 6)
            return '?';
        const std::string tail = read(ones - 1);
        if (tail.size() < static_cast<std::size_t>(ones - 1))
            return -1;
        std::int64_t code = lead % (1 << (7 - ones));
        for (const char c : tail) {
            if ((c & 0xC0) != 0x80)
                code = INT64_MIN;
            code = code < 0 ? code : code * 64 + (c & 0x3F);
        }
        return code < 0 ? '?' : code;
    }
    bool get(wchar_t& c) {
        int& waiting = pushback >= 0 ? pushback : low;
        if (waiting >= 0) {
            c = static_cast<wchar_t>(waiting);
            waiting = -1;
            return true;
        }
        std::int64_t code = encoding == 1 ? utf8()
                            : encoding    ? number(encoding < 4 ? 2 : 4, encoding % 2)
                                          : byte();
        if (code < 0)
            return false;
        if (encoding == 0) {
            c = cl::narrow_to_wide(std::string(1, static_cast<char>(code)), 0)[0];
            pushback = -1;
            pos -= c == 0; // converts back to nothing
            return true;
        }
        if (code > 0x10FFFF)
            code = ' ';
        if (code > 0xFFFF) {
            low = static_cast<int>(0xDC00 + (code - 0x10000) % 1024);
            code = 0xD800 + (code - 0x10000) / 1024;
        }
        c = static_cast<wchar_t>(code);
        return true;
    }
    bool line(std::wstring& out) {
        out.clear();
        eol = 0;
        wchar_t c;
        const auto next = [&] {
            if (encoding)
                return get(c);
            const int b = byte(); // lines of ANSI know no NUL, and no pushed-back character
            c = b > 0 ? cl::narrow_to_wide(std::string(1, static_cast<char>(b)), 0)[0] : wchar_t{0};
            return b >= 0;
        };
        for (bool first = true; next(); first = false) {
            if (c == '\n' || c == '\r') {
                eol = c == '\n' ? 1 : 2;
                if (eol == 2 && next()) {
                    if (c == '\n')
                        eol = 3;
                    else if (encoding)
                        pushback = c;
                    else
                        --pos;
                }
                return true;
            }
            if (!(first && encoding && c == 0xFEFF))
                out += c;
        }
        return !out.empty();
    }
    void put(const std::wstring& text) {
        for (const wchar_t c : text)
            put(c);
    }
    void put(wchar_t c) {
        std::int64_t code = c;
        const bool pairs = encoding == 1 || encoding > 3;
        if (pairs && c >= 0xD800 && c < 0xDC00) {
            high = c;
            return;
        }
        if (pairs && c >= 0xDC00 && c < 0xE000 && high >= 0) {
            code = 0x10000 + (high - 0xD800) * 1024 + (c - 0xDC00);
            high = -1;
        }
        if (encoding == 0)
            return write(c ? cl::wide_to_narrow(&c, 1, 0) : "");
        if (encoding == 1) // by the other routine of the house, which doesn't know lone high halves
            return write(code > 0xFFFF
                             ? cl::utf16_to_utf8(std::wstring{static_cast<wchar_t>(0xD7C0 + code / 1024),
                                                              static_cast<wchar_t>(0xDC00 + code % 1024)})
                             : cl::utf16_to_utf8(std::wstring(1, static_cast<wchar_t>(code))));
        std::string data;
        for (int n = encoding < 4 ? 2 : 4; n > 0; --n, code /= 256)
            data.insert(encoding % 2 ? data.begin() : data.end(), static_cast<char>(code));
        write(data);
    }
};
