// The small string helpers that paths and settings stand on. A blank is ASCII white space (tab, line feed,
// vertical tab, form feed, carriage return, space); nothing above 127 is one. Letter case is that of A to Z
// alone. All may be called from any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace cl {

bool is_blank(wchar_t c);

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

// The text without the blanks at its end.
std::wstring_view trim_right_view(const wchar_t* p, std::size_t n);

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

// Reads a 32-bit number that may have blanks and a sign in front and anything behind it. With radix_prefix,
// and no sign, "0x", "0o", "0n" and "0y" mean base 16, 8, 10 and 2. Wraps around in silence; no digits give
// 0.
std::int32_t parse_int(const std::wstring& s, bool radix_prefix);

} // namespace cl
