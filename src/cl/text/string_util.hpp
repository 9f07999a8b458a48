// The small string helpers that paths and settings stand on. A blank is ASCII white space (tab, line feed,
// vertical tab, form feed, carriage return, space); nothing above 127 is one. Letter case is that of A to Z
// alone. All may be called from any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace cl {

template <class Ch>
constexpr bool is_blank(Ch c) {
    const auto u = static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<Ch>>(c));
    return u == ' ' || u - '\t' <= '\r' - '\t';
}

// A to Z as a to z.
template <class Ch>
constexpr Ch fold(Ch c) {
    return c >= 'A' && c <= 'Z' ? static_cast<Ch>(c + ('a' - 'A')) : c;
}

// The text without the blanks in front, at its end, and at both ends.
template <class Ch>
constexpr std::basic_string_view<Ch> trim_front_view(std::basic_string_view<Ch> s) {
    while (!s.empty() && is_blank(s.front()))
        s.remove_prefix(1);
    return s;
}
template <class Ch>
constexpr std::basic_string_view<Ch> trim_back_view(std::basic_string_view<Ch> s) {
    while (!s.empty() && is_blank(s.back()))
        s.remove_suffix(1);
    return s;
}
constexpr std::wstring_view trim_front(std::wstring_view s) {
    return trim_front_view(s);
}
constexpr std::wstring_view trim_back(std::wstring_view s) {
    return trim_back_view(s);
}
constexpr std::wstring_view trim_both(std::wstring_view s) {
    return trim_back_view(trim_front_view(s));
}
constexpr std::string_view trim_both(std::string_view s) {
    return trim_back_view(trim_front_view(s));
}
inline std::wstring_view trim_right_view(const wchar_t* p, std::size_t n) {
    return trim_back(std::wstring_view(p, n));
}

// Orders two texts without regard to case: < 0, 0 or > 0. The shorter length decides first, then the lengths.
// A zero at the same place in both ends that first comparison.
int icompare(const wchar_t* a, std::size_t an, const wchar_t* b, std::size_t bn);
inline int icompare(std::wstring_view a, std::wstring_view b) {
    return icompare(a.data(), a.size(), b.data(), b.size());
}

// The same without the blanks at both ends of both texts.
int icompare_trimmed(const wchar_t* a, std::size_t an, const wchar_t* b, std::size_t bn);
inline int icompare_trimmed(std::wstring_view a, std::wstring_view b) {
    return icompare_trimmed(a.data(), a.size(), b.data(), b.size());
}

bool starts_with_i(std::wstring_view s, std::wstring_view prefix);

// In place; each returns s.
std::wstring& to_lower_ascii(std::wstring& s);
std::wstring& trim_left(std::wstring& s);
std::wstring& trim_right(std::wstring& s);

std::wstring lower_copy(std::wstring s);

// Every run of blanks becomes one ' '; at the start and at the end it vanishes.
std::string squeeze_blanks(const char* s);

// The first place in s where needle stands, without regard to case, or null. An empty s gives null, even for
// an empty needle.
const char* ifind(const char* s, const char* needle);

// Appends a backslash unless s is empty or ends in one. Returns s.
std::wstring& add_backslash(std::wstring& s);
std::wstring with_backslash(std::wstring s);

// The part of path up to and including its last backslash or colon; empty if it has neither.
std::wstring dir_of(std::wstring_view path);

// The byte that two hexadecimal digits give. A character that is no digit counts as 0.
std::uint8_t hex_pair(const char* p);

// Reads a 32-bit number that may have blanks and a sign in front and anything after it. With radix_prefix,
// and no sign, "0x", "0o", "0n" and "0y" mean base 16, 8, 10 and 2. Wraps around in silence; no digits give
// 0.
std::int32_t parse_int(const std::wstring& s, bool radix_prefix);

} // namespace cl
