#include "ctl/message_page.hpp"

#include "cl/ini/ini_text.hpp"
#include "cl/text/string_util.hpp"
#include "ctl/log_lines.hpp"

#include <algorithm>

namespace vfl::ctl {

namespace {

constexpr wchar_t any_value = 0x2026; // …

// Matches with `…` standing for any characters, none included.
bool fits(std::wstring_view pattern, std::wstring_view text) {
    std::size_t p = 0, t = 0, star = pattern.npos, kept = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == any_value) {
            star = p++;
            kept = t;
        } else if (p < pattern.size() && pattern[p] == text[t]) {
            ++p;
            ++t;
        } else if (star != pattern.npos) {
            p = star + 1;
            t = ++kept;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == any_value)
        ++p;
    return p == pattern.size();
}

// The text of a cell as people read it: without the marks of code and links.
std::wstring plain(std::wstring_view cell) {
    std::wstring out;
    for (std::size_t i = 0; i < cell.size(); ++i) {
        if (cell[i] == L']' && i + 1 < cell.size() && cell[i + 1] == L'(') {
            i = std::min(cell.find(L')', i), cell.size());
        } else if (cell[i] != L'`' && cell[i] != L'[') {
            out += cell[i];
        }
    }
    return std::wstring(cl::trim_both(out));
}

// The stamp of a line of the log, or the time that this tool shows instead.
std::wstring_view without_time(std::wstring_view text) {
    text = cl::trim_both(text);
    if (text.starts_with(L'~'))
        text.remove_prefix(1);
    std::string head;
    for (const wchar_t c : text.substr(0, stamp_size))
        head += c < 0x80 ? static_cast<char>(c) : '?';
    if (stamp_of(head))
        return cl::trim_both(text.substr(stamp_size));
    constexpr std::size_t shown_time = 23;
    if (text.size() > shown_time && parse_day(text.substr(0, 10)) && parse_time_of_day(text.substr(11, 8)))
        return cl::trim_both(text.substr(shown_time));
    return text;
}

} // namespace

message_page::message_page(std::string_view page) {
    while (!page.empty()) {
        const std::size_t end = std::min(page.find('\n'), page.size());
        const std::wstring line = line_text(page.substr(0, end));
        page.remove_prefix(std::min(end + 1, page.size()));
        if (!line.starts_with(L"| `"))
            continue;
        const std::size_t message_end = line.find(L"` | ");
        if (message_end == line.npos)
            continue;
        const std::size_t means = message_end + 4, means_end = line.rfind(L" | ");
        if (means_end == line.npos || means_end < means)
            continue;
        const std::size_t remedy_end = line.rfind(L" |");
        rows_.push_back({line.substr(3, message_end - 3),
                         plain(std::wstring_view(line).substr(means, means_end - means)),
                         plain(std::wstring_view(line).substr(means_end + 3, remedy_end - means_end - 3))});
    }
}

const message_row* message_page::find(std::wstring_view text) const {
    text = without_time(text);
    while (!text.empty() && text.back() == L'-') // the banner's rule
        text.remove_suffix(1);
    text = cl::trim_both(text);
    const message_row* best = nullptr;
    std::size_t most = 0;
    for (const message_row& row : rows_) {
        const auto own = static_cast<std::size_t>(
            std::ranges::count_if(row.message, [](wchar_t c) { return c != any_value; }));
        if (own > most && fits(row.message, text)) {
            best = &row;
            most = own;
        }
    }
    return best;
}

std::vector<const message_row*> message_page::search(std::wstring_view text) const {
    if (const message_row* const whole = find(text))
        return {whole};
    text = without_time(text);
    std::vector<const message_row*> found;
    for (const message_row& row : rows_) {
        std::wstring pattern = row.message.substr(0, row.message.find(any_value));
        if (cl::starts_with_i(row.message, text) || (pattern.size() > 3 && cl::starts_with_i(text, pattern)))
            found.push_back(&row);
    }
    return found;
}

bool has_remedy(const message_row& row) {
    return row.remedy != L"nothing" && !row.remedy.empty();
}

} // namespace vfl::ctl
