#include "cl/ini/ini_text.hpp"

#include "cl/file/string_util.hpp"

#include <algorithm>
#include <limits>

namespace cl {

namespace {

wchar_t fold(wchar_t c) {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + (L'a' - L'A')) : c;
}

void assign_normal(std::wstring& out, std::wstring_view s) {
    out = trim_both(s);
    for (wchar_t& c : out) {
        if (c < L' ' && is_blank(c))
            c = L' ';
    }
}

} // namespace

std::wstring_view trim_front(std::wstring_view s) {
    std::size_t n = 0;
    while (n < s.size() && is_blank(s[n]))
        ++n;
    return s.substr(n);
}

std::wstring_view trim_both(std::wstring_view s) {
    s = trim_front(s);
    return trim_right_view(s.data(), s.size());
}

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

bool parse_section_line(std::wstring_view line, std::wstring& name) {
    if (line.empty() || line[0] != L'[')
        return false;
    name = trim_both(line.substr(1, line.find(L']') - 1));
    return true;
}

bool parse_ini_line(std::wstring_view line, std::wstring& key, std::wstring& value) {
    const std::size_t equals = line.find(L'=');
    if (equals == line.npos || line[0] == L';' || trim_front(line.substr(0, equals)).empty())
        return false;
    assign_normal(key, line.substr(0, equals));
    assign_normal(value, line.substr(equals + 1));
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
    std::wstring out;
    assign_normal(out, s);
    return out;
}

} // namespace cl
