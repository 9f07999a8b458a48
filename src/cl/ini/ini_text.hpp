// The INI text format, line by line. White space means the six ASCII blanks alone, names compare without
// regard to the case of A to Z, and there is no quoting, escaping or continuation. A line never contains its
// terminator. Any thread may call these functions; nothing fails.
#pragma once

#include "cl/text/string_util.hpp"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace cl {

// Delivers the next line of a text; false at its end. The line is whatever it was then.
using next_line = std::function<bool(std::wstring& line)>;
// Takes a line, adds the line end; false if it could not be written.
using put_line = std::function<bool(const std::wstring& line)>;

// Orders names: < 0, 0, > 0. The shorter length decides first, then the difference of the lengths. In
// contrast to icompare, a zero is a character like any other.
int compare_ci(std::wstring_view a, std::wstring_view b);

// The same as compare_ci(a, b) == 0, and faster.
bool equal_ci(std::wstring_view a, std::wstring_view b);

// For a hash table of names.
struct equal_ci_to {
    bool operator()(std::wstring_view a, std::wstring_view b) const { return equal_ci(a, b); }
};
struct hash_ci {
    std::size_t operator()(std::wstring_view s) const;
};

// The parsers leave their results untouched when they answer false. `line` must not lie in a result.

// A section header: the trimmed text between "[" and the first "]", or the end of the line if there is none.
// The line is already trimmed at the left.
bool parse_section_line(std::wstring_view line, std::wstring& name);

// A key line, in normal form: key and value trimmed, and each white space inside them a space. False for a
// line that begins with ";", has no "=" or has an empty key.
bool parse_ini_line(std::wstring_view line, std::wstring& key, std::wstring& value);

// The same as one text, "key=value", of which the first `key_length` characters are the key.
bool normalize_ini_line(std::wstring_view line, std::wstring& normal, std::size_t& key_length);

// The same for a line that is in normal form already: cuts at the first "=" and changes nothing.
bool split_ini_line(std::wstring_view line, std::wstring& key, std::wstring& value);

// The line that the system itself writes for a key.
std::wstring make_ini_line(std::wstring_view key, std::wstring_view value);

// The header that the system itself writes for a section.
std::wstring make_section_line(std::wstring_view name);

// Trims s at both ends and makes each white space inside it a space.
std::wstring normal_form(std::wstring_view s);

} // namespace cl
