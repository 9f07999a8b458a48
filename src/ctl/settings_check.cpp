#include "ctl/settings_check.hpp"

#include "cl/ini/ini_text.hpp"
#include "cl/text/encodings.hpp"
#include "cl/text/string_util.hpp"
#include "ctl/log_lines.hpp"
#include "product/names.hpp"

#include <algorithm>
#include <map>
#include <optional>

namespace vfl::ctl {

namespace {

constexpr std::uint32_t least_trace_size = 0x100000; // below that, a log is gone within hours

std::wstring decoded(std::string_view bytes, bool& marked) {
    marked = true;
    if (bytes.starts_with(cl::byte_order_mark(cl::encoding_utf8)))
        return line_text(bytes.substr(3));
    const bool little = bytes.starts_with(cl::byte_order_mark(cl::encoding_utf16le));
    if (little || bytes.starts_with(cl::byte_order_mark(cl::encoding_utf16be))) {
        std::wstring text;
        for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
            const auto low = static_cast<unsigned char>(bytes[i + (little ? 0 : 1)]);
            const auto high = static_cast<unsigned char>(bytes[i + (little ? 1 : 0)]);
            text += static_cast<wchar_t>(high << 8 | low);
        }
        return text;
    }
    marked = false;
    return line_text(bytes);
}

std::wstring at_line(std::size_t number, std::wstring_view what, std::wstring_view text) {
    return L"line " + std::to_wstring(number) + L" " + std::wstring(what) + L": \"" + std::wstring(text) +
           L"\"";
}

bool is_number(std::wstring_view text) {
    return !text.empty() && std::ranges::all_of(text, [](wchar_t c) { return c >= L'0' && c <= L'9'; });
}

void check_host_key(std::wstring_view key, const std::wstring& value, std::size_t number,
                    std::vector<std::wstring>& findings) {
    if (cl::equal_ci(key, trace_key) && cl::parse_int(value, false) == 0)
        findings.push_back(at_line(number, L"turns the log off", std::wstring(key) + L"=" + value));
    if (!cl::equal_ci(key, max_trace_size_key))
        return;
    if (!is_number(value) || value.size() > 10 || std::stoull(value) > 0xFFFFFFFF)
        findings.push_back(at_line(number, L"is no number of bytes up to 4294967295", value));
    else if (std::stoull(value) < least_trace_size)
        findings.push_back(at_line(number, L"rotates the log below 1 MiB", value));
}

} // namespace

std::vector<std::wstring> check_settings(std::string_view bytes) {
    std::vector<std::wstring> findings;
    bool marked = false;
    const std::wstring text = decoded(bytes, marked);
    if (!marked && std::ranges::any_of(bytes, [](char c) { return static_cast<unsigned char>(c) >= 0x80; }))
        findings.emplace_back(
            L"the file holds letters beyond ASCII, but no byte order mark: they are read as ANSI");

    std::map<std::wstring, std::size_t> sections; // folded, with their first lines
    std::map<std::pair<std::wstring, std::wstring>, std::size_t> keys;
    std::optional<std::wstring> section;
    std::size_t number = 0;
    for (std::wstring_view rest = text; !rest.empty();) {
        const std::size_t end = std::min(rest.find_first_of(L"\r\n"), rest.size());
        const std::wstring_view line = cl::trim_both(rest.substr(0, end));
        const bool both = end + 1 < rest.size() && rest[end] == L'\r' && rest[end + 1] == L'\n';
        rest.remove_prefix(std::min(end + (both ? 2 : 1), rest.size()));
        ++number;
        std::wstring name, key, value;
        if (line.empty() || line[0] == L';')
            continue;
        if (line[0] == L'[') {
            if (cl::parse_section_line(line, name)) {
                section = cl::lower_copy(name);
                const auto [known, is_new] = sections.emplace(*section, number);
                if (!is_new)
                    findings.push_back(at_line(
                        number, L"repeats the section of line " + std::to_wstring(known->second), name));
            }
        } else if (!cl::parse_ini_line(line, key, value)) {
            findings.push_back(at_line(number, L"is ignored", line));
        } else if (!section) {
            findings.push_back(at_line(number, L"is in no section", line));
        } else {
            const auto [known, is_new] = keys.emplace(std::pair(*section, cl::lower_copy(key)), number);
            if (!is_new)
                findings.push_back(
                    at_line(number, L"repeats the key of line " + std::to_wstring(known->second), key));
            else if (*section == host_section)
                check_host_key(key, value, number, findings);
        }
    }
    return findings;
}

} // namespace vfl::ctl
