#include "ctl/log_selection.hpp"

#include "cl/format/text.hpp"
#include "ctl/json_text.hpp"
#include "ctl/output.hpp"

#include <algorithm>
#include <cstdlib>

namespace vfl::ctl {

namespace {

// The moment that an option names. A time without a day is one of `last_day`; a day without a time is its
// start, or its end for an upper limit.
std::optional<local_ms> moment(std::wstring_view text, std::int64_t last_day, bool upper) {
    const std::size_t blank = text.find_first_of(L" T");
    const auto day = parse_day(text.substr(0, std::min(blank, text.size())));
    if (day && blank == text.npos)
        return *day * day_ms + (upper ? day_ms - 1 : 0);
    const std::wstring_view clock = day ? text.substr(blank + 1) : text;
    const auto time = parse_time_of_day(clock);
    if (!time)
        return {};
    const local_ms rest = upper ? (clock.size() == 5 ? 59'999 : 999) : 0; // up to the end of what is named
    return (day ? *day : last_day) * day_ms + *time + rest;
}

wchar_t fold(wchar_t c) {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 32) : c;
}

bool contains(std::wstring_view text, std::wstring_view folded) {
    return std::search(text.begin(), text.end(), folded.begin(), folded.end(),
                       [](wchar_t a, wchar_t b) { return fold(a) == b; }) != text.end();
}

std::string_view bytes_of(const log_text& log, const log_line& line) {
    return std::string_view(log.bytes).substr(line.begin, line.end - line.begin);
}

std::wstring wrong(std::wstring_view option, const std::wstring& value, std::wstring_view wanted) {
    return L"vflctl: " + std::wstring(option) + L" can't be \"" + value + L"\"; it is " +
           std::wstring(wanted) + L". See vflctl log --help\n";
}

} // namespace

read_selection_result read_selection(const arguments& args) {
    read_selection_result result;
    log_selection& s = result.selection;
    constexpr std::uint32_t most = 1'000'000'000;
    if (const auto lines = args.value(L"-n")) {
        const auto number = whole_number(*lines, most);
        if (!number)
            result.error = wrong(L"-n", *lines, L"a number of lines");
        else
            s.last = *number;
    }
    for (const auto& [option, target] : {std::pair(L"--since", &s.since), std::pair(L"--until", &s.until)}) {
        if (const auto value = args.value(option)) {
            *target = *value;
            if (!moment(*value, 0, false))
                result.error = wrong(option, *value, L"HH:MM, HH:MM:SS, YYYY-MM-DD, or a day and a time");
            s.run = log_selection::all_runs;
        }
    }
    if (const auto run = args.value(L"--run")) {
        const auto number = whole_number(*run, most);
        if (*run == L"all")
            s.run = log_selection::all_runs;
        else if (*run == L"last")
            s.run = log_selection::last_run;
        else if (number && *number > 0)
            s.run = *number;
        else
            result.error = wrong(L"--run", *run, L"\"last\", \"all\", or a number from 1, the oldest");
    }
    if (const auto text = args.value(L"--grep")) {
        s.grep = *text;
        std::ranges::transform(s.grep, s.grep.begin(), fold);
    }
    if (args.has(L"--raw") && args.has(L"--json"))
        result.error = L"vflctl: --raw and --json exclude each other. See vflctl log --help\n";
    s.form = args.has(L"--raw") ? log_form::raw : args.has(L"--json") ? log_form::json : log_form::text;
    return result;
}

std::vector<std::size_t> select_lines(const log_text& log, const log_selection& s) {
    std::vector<std::size_t> chosen;
    if (log.lines.empty())
        return chosen;
    const std::int64_t last_day = log.lines.back().day;
    const auto since = moment(s.since, last_day, false), until = moment(s.until, last_day, true);
    const std::size_t run = s.run == log_selection::last_run ? log.runs : s.run;
    for (std::size_t i = 0; i < log.lines.size(); ++i) {
        const log_line& line = log.lines[i];
        if (s.run != log_selection::all_runs && static_cast<std::size_t>(line.run) != run)
            continue;
        if ((since && line.time() < *since) || (until && line.time() > *until))
            continue;
        if (!s.grep.empty() && !contains(line_text(bytes_of(log, line)), s.grep))
            continue;
        chosen.push_back(i);
    }
    if (chosen.size() > s.last)
        chosen.erase(chosen.begin(), chosen.end() - static_cast<std::ptrdiff_t>(s.last));
    return chosen;
}

std::string_view whole_line(const log_text& log, const log_line& line) {
    const std::size_t begin = line.begin - (line.stamped ? stamp_size : 0);
    return std::string_view(log.bytes).substr(begin, line.end - begin);
}

std::string raw_line(const log_text& log, const log_line& line) {
    const std::string_view whole = whole_line(log, line);
    const std::size_t begin = static_cast<std::size_t>(whole.data() - log.bytes.data());
    const std::size_t feed = log.bytes.find('\n', line.end);
    return log.bytes.substr(begin, feed == std::string::npos ? feed : feed + 1 - begin);
}

std::wstring shown_line(const log_text& log, const log_line& line, const log_selection& s) {
    constexpr std::size_t text_column = 25;
    std::wstring out;
    out.reserve(text_column + 2 + line.end - line.begin);
    if (line.stamped) {
        out += (line.certain ? L"" : L"~") + time_text(line.time());
        out.resize(std::max(text_column, out.size() + 1), L' ');
    } else {
        out.assign(text_column, L' ');
    }
    const std::wstring text = line_text(bytes_of(log, line));
    out += shown(text);
    out.erase(out.find_last_not_of(L' ') + 1);
    out += L'\n';
    const message_row* const row = s.page ? s.page->find(text) : nullptr;
    if (row && has_remedy(*row)) {
        const std::wstring indent(text_column, L' ');
        out.append(indent).append(L"means: ").append(row->means).append(L"\n");
        out.append(indent).append(L"do:    ").append(row->remedy).append(L"\n");
    }
    return out;
}

std::wstring iso_time(local_ms time, int offset_minutes) {
    std::wstring text = time_text(time);
    text[10] = L'T';
    const int size = std::abs(offset_minutes);
    return text + cl::text(L"%?%02?:%02?", offset_minutes < 0 ? L"-" : L"+", size / 60, size % 60);
}

std::string json_line(const log_text& log, const log_line& line, const utc_offset& offset) {
    json_text json;
    json.open_object();
    json.member(L"schema", L"vflctl.log/1");
    json.member(L"time", std::wstring_view(iso_time(line.time(), offset(line.time()))));
    json.member(L"certain", line.certain).member(L"run", line.run);
    json.member(L"text", std::wstring_view(line_text(bytes_of(log, line))));
    json.close_object();
    return json.take() + "\r\n";
}

} // namespace vfl::ctl
