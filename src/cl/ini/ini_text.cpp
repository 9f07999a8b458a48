#include "cl/ini/ini_text.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace cl {

namespace {

// Without a branch, so that it is done for several characters at once.
void blanks_to_spaces(std::wstring& s) {
    for (wchar_t& c : s)
        c = is_blank(c) ? L' ' : c;
}

// Where a line splits into key and value; npos if it is no key line.
std::size_t key_line_split(std::wstring_view line) {
    const std::size_t equals = line.find(L'=');
    return equals == line.npos || line[0] == L';' || trim_front(line.substr(0, equals)).empty() ? line.npos
                                                                                                : equals;
}

} // namespace

int compare_ci(std::wstring_view a, std::wstring_view b) {
    const std::size_t n = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < n; ++i) {
        const wchar_t x = fold(a[i]);
        const wchar_t y = fold(b[i]);
        if (x != y)
            return x < y ? -1 : 1;
    }
    constexpr std::size_t most = std::numeric_limits<int>::max();
    return a.size() < b.size() ? -static_cast<int>(std::min(b.size() - a.size(), most))
                               : static_cast<int>(std::min(a.size() - b.size(), most));
}

bool equal_ci(std::wstring_view a, std::wstring_view b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = a.size(); i-- > 0;) {
        if (a[i] != b[i] && fold(a[i]) != fold(b[i]))
            return false;
    }
    return true;
}

std::size_t hash_ci::operator()(std::wstring_view s) const {
    std::uint64_t h = 0xCBF29CE484222325; // FNV-1a over the folded characters
    for (const wchar_t c : s)
        h = (h ^ static_cast<std::uint64_t>(fold(c))) * 0x100000001B3;
    return static_cast<std::size_t>(h);
}

bool parse_section_line(std::wstring_view line, std::wstring& name) {
    if (line.empty() || line[0] != L'[')
        return false;
    name = trim_both(line.substr(1, line.find(L']') - 1));
    return true;
}

bool parse_ini_line(std::wstring_view line, std::wstring& key, std::wstring& value) {
    const std::size_t equals = key_line_split(line);
    if (equals == line.npos)
        return false;
    key = normal_form(line.substr(0, equals));
    value = normal_form(line.substr(equals + 1));
    return true;
}

bool normalize_ini_line(std::wstring_view line, std::wstring& normal, std::size_t& key_length) {
    const std::size_t equals = key_line_split(line);
    if (equals == line.npos)
        return false;
    const std::wstring_view key = trim_both(line.substr(0, equals));
    const std::wstring_view value = trim_both(line.substr(equals + 1));
    normal = make_ini_line(key, value);
    blanks_to_spaces(normal);
    key_length = key.size();
    return true;
}

bool split_ini_line(std::wstring_view line, std::wstring& key, std::wstring& value) {
    const std::size_t equals = line.find(L'=');
    if (equals == line.npos || line[0] == L';' || equals == 0)
        return false;
    key = line.substr(0, equals);
    value = line.substr(equals + 1);
    return true;
}

std::wstring make_ini_line(std::wstring_view key, std::wstring_view value) {
    std::wstring line;
    line.reserve(key.size() + 1 + value.size());
    line.append(key).append(1, L'=').append(value);
    return line;
}

std::wstring make_section_line(std::wstring_view name) {
    std::wstring line;
    line.reserve(name.size() + 2);
    line.append(1, L'[').append(name).append(1, L']');
    return line;
}

std::wstring normal_form(std::wstring_view s) {
    std::wstring out(trim_both(s));
    blanks_to_spaces(out);
    return out;
}

} // namespace cl
