#include "cl/text/string_util.hpp"

#include <algorithm>
#include <limits>

namespace cl {

namespace {

int icompare_n(const wchar_t* a, const wchar_t* b, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        const wchar_t x = fold(a[i]);
        const wchar_t y = fold(b[i]);
        if (x != y)
            return x < y ? -1 : 1;
        if (x == 0)
            break;
    }
    return 0;
}

// The value of a digit in bases up to 36, or 36.
unsigned digit_value(wchar_t c) {
    if (c >= L'0' && c <= L'9')
        return static_cast<unsigned>(c - L'0');
    const wchar_t f = fold(c);
    return f >= L'a' && f <= L'z' ? static_cast<unsigned>(f - L'a') + 10 : 36;
}

} // namespace

int icompare(const wchar_t* a, std::size_t an, const wchar_t* b, std::size_t bn) {
    if (const int order = icompare_n(a, b, std::min(an, bn)))
        return order;
    constexpr std::size_t most = std::numeric_limits<int>::max();
    return an < bn ? -static_cast<int>(std::min(bn - an, most)) : static_cast<int>(std::min(an - bn, most));
}

int icompare_trimmed(const wchar_t* a, std::size_t an, const wchar_t* b, std::size_t bn) {
    return icompare(trim_both({a, an}), trim_both({b, bn}));
}

bool starts_with_i(std::wstring_view s, std::wstring_view prefix) {
    return prefix.size() <= s.size() && icompare_n(s.data(), prefix.data(), prefix.size()) == 0;
}

std::wstring& to_lower_ascii(std::wstring& s) {
    for (wchar_t& c : s)
        c = fold(c);
    return s;
}

std::wstring lower_copy(std::wstring s) {
    to_lower_ascii(s);
    return s;
}

std::wstring& trim_left(std::wstring& s) {
    return s.erase(0, s.size() - trim_front(s).size());
}

std::wstring& trim_right(std::wstring& s) {
    s.resize(trim_back(s).size());
    return s;
}

std::string squeeze_blanks(const char* s) {
    std::string out;
    bool gap = false;
    for (; s && *s; ++s) {
        if (is_blank(static_cast<unsigned char>(*s))) {
            gap = !out.empty();
            continue;
        }
        if (gap)
            out += ' ';
        gap = false;
        out += *s;
    }
    return out;
}

const char* ifind(const char* s, const char* needle) {
    for (; s && *s; ++s) {
        std::size_t i = 0;
        while (needle[i] && fold(s[i]) == fold(needle[i]))
            ++i;
        if (!needle[i])
            return s;
    }
    return nullptr;
}

std::wstring& add_backslash(std::wstring& s) {
    if (!s.empty() && s.back() != L'\\')
        s += L'\\';
    return s;
}

std::wstring with_backslash(std::wstring s) {
    add_backslash(s);
    return s;
}

std::wstring dir_of(std::wstring_view path) {
    return std::wstring(path.substr(0, path.find_last_of(L"\\:") + 1));
}

std::uint8_t hex_pair(const char* p) {
    const auto nibble = [](char c) {
        const unsigned v = digit_value(static_cast<unsigned char>(c));
        return v < 16 ? v : 0;
    };
    return static_cast<std::uint8_t>(nibble(p[0]) * 16 + (p[0] ? nibble(p[1]) : 0));
}

std::int32_t parse_int(const std::wstring& s, bool radix_prefix) {
    const wchar_t* p = s.c_str();
    while (is_blank(*p))
        ++p;
    unsigned base = 10;
    const bool negative = *p == L'-';
    if (negative || *p == L'+') {
        ++p;
    } else if (radix_prefix && *p == L'0') {
        const unsigned named = p[1] == L'x'   ? 16
                               : p[1] == L'o' ? 8
                               : p[1] == L'n' ? 10
                               : p[1] == L'y' ? 2
                                              : 0;
        if (named) {
            base = named;
            p += 2;
        }
    }
    std::uint32_t value = 0;
    for (unsigned d = digit_value(*p); d < base; d = digit_value(*++p))
        value = value * base + d;
    return static_cast<std::int32_t>(negative ? 0 - value : value);
}

} // namespace cl
