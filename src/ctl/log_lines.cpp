#include "ctl/log_lines.hpp"

#include "cl/format/text.hpp"
#include "cl/text/encodings.hpp"
#include "cl/text/text_convert.hpp"

#include <algorithm>
#include <chrono>

namespace vfl::ctl {

namespace {

constexpr std::string_view banner_start = "srv: ------ ";

// How far the clock may go back between two lines that follow each other: within a run by the end of daylight
// saving time or a correction, between two runs by a small correction. A larger step is the next day.
constexpr std::int32_t step_in_run_ms = 2 * 3'600'000;
constexpr std::int32_t step_between_runs_ms = 60'000;

bool is_next_day(const log_line& earlier, const log_line& later) {
    const std::int32_t back = earlier.time_of_day - later.time_of_day;
    return back > (later.banner ? step_between_runs_ms : step_in_run_ms);
}

std::int64_t day_nearest(local_ms moment, std::int32_t time_of_day) {
    const std::int64_t shifted = moment - time_of_day + day_ms / 2;
    return shifted >= 0 ? shifted / day_ms : -((-shifted + day_ms - 1) / day_ms);
}

void split(log_text& log) {
    const std::string_view text = log.bytes;
    std::int32_t time = 0;
    std::int32_t run = 1;
    for (std::size_t begin = 0; begin < text.size();) {
        std::size_t feed = text.find('\n', begin);
        feed = feed == text.npos ? text.size() : feed;
        std::size_t end = feed;
        while (end > begin && text[end - 1] == '\r')
            --end;
        log_line line{begin, end, time, run, false, false};
        if (const auto stamp = stamp_of(text.substr(begin, end - begin))) {
            line.stamped = true;
            line.begin += stamp_size;
            line.time_of_day = time = *stamp;
            line.banner = text.substr(line.begin, end - line.begin).starts_with(banner_start);
            if (line.banner && !log.lines.empty())
                line.run = ++run;
        }
        log.lines.push_back(line);
        begin = feed + 1;
    }
    log.runs = log.lines.empty() ? 0 : static_cast<std::size_t>(run);
}

struct anchor {
    std::size_t line;
    std::int64_t day;
};

// From each anchor the days are counted backwards as far as the anchor before it, and from that one forwards:
// where both agree there is no other possibility.
void date(std::vector<log_line>& lines, const std::vector<anchor>& anchors) {
    if (lines.empty() || anchors.empty())
        return;
    std::size_t next = 0;
    for (std::size_t a = 0; a < anchors.size(); ++a) {
        const anchor& at = anchors[a];
        std::int64_t day = at.day;
        for (std::size_t i = at.line + 1; i-- > next;) {
            if (i < at.line && is_next_day(lines[i], lines[i + 1]))
                --day;
            lines[i].day = day;
        }
        // With the lines without a stamp that belong to the last one with a stamp.
        for (std::size_t i = at.line;; --i) {
            lines[i].certain = true;
            if (lines[i].stamped || i == next)
                break;
        }
        if (a > 0) {
            day = anchors[a - 1].day;
            for (std::size_t i = next; i <= at.line; ++i) {
                if (i > 0 && is_next_day(lines[i - 1], lines[i]))
                    ++day;
                lines[i].certain = lines[i].certain || lines[i].day == day;
            }
        }
        next = at.line + 1;
    }
    // What follows the last anchor can only be counted forwards.
    std::int64_t day = anchors.back().day;
    for (std::size_t i = next; i < lines.size(); ++i) {
        if (is_next_day(lines[i - 1], lines[i]))
            ++day;
        lines[i].day = day;
    }
}

} // namespace

std::optional<std::int32_t> stamp_of(std::string_view line) {
    if (line.size() < stamp_size || line[6] != '-' || line[10] != ' ')
        return {};
    std::int32_t digits[9];
    for (std::size_t i = 0, n = 0; i < 10; ++i) {
        if (i == 6)
            continue;
        if (line[i] < '0' || line[i] > '9')
            return {};
        digits[n++] = line[i] - '0';
    }
    const std::int32_t hour = digits[0] * 10 + digits[1], minute = digits[2] * 10 + digits[3],
                       second = digits[4] * 10 + digits[5];
    if (hour > 23 || minute > 59 || second > 59)
        return {};
    return ((hour * 60 + minute) * 60 + second) * 1000 + digits[6] * 100 + digits[7] * 10 + digits[8];
}

log_text read_log(const std::vector<log_part>& parts, std::optional<local_ms> last_banner) {
    log_text log;
    std::vector<std::pair<std::size_t, local_ms>> ends; // of the parts whose last write is known
    for (const log_part& part : parts) {
        log.bytes += part.bytes;
        if (part.last_write && !part.bytes.empty())
            ends.emplace_back(log.bytes.size(), *part.last_write);
    }
    split(log);

    std::vector<anchor> anchors;
    for (const auto& [end, written] : ends) {
        const auto behind = std::ranges::lower_bound(log.lines, end, {}, &log_line::begin);
        if (behind == log.lines.begin())
            continue;
        const auto line = static_cast<std::size_t>(behind - log.lines.begin()) - 1;
        anchors.push_back({line, day_nearest(written, log.lines[line].time_of_day)});
    }
    if (last_banner) {
        const auto found =
            std::find_if(log.lines.rbegin(), log.lines.rend(), [](const log_line& l) { return l.banner; });
        if (found != log.lines.rend()) {
            const auto line = static_cast<std::size_t>(log.lines.rend() - found) - 1;
            const anchor start{line, day_nearest(*last_banner, found->time_of_day)};
            const auto place = std::ranges::lower_bound(anchors, line, {}, &anchor::line);
            if (place == anchors.end() || place->line != line)
                anchors.insert(place, start);
        }
    }
    date(log.lines, anchors);
    return log;
}

std::wstring line_text(std::string_view bytes) {
    if (std::ranges::all_of(bytes, [](char c) { return static_cast<unsigned char>(c) < 0x80; }))
        return {bytes.begin(), bytes.end()};
    const auto* const p = reinterpret_cast<const std::uint8_t*>(bytes.data());
    std::wstring text;
    text.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size();) {
        const int tail = cl::utf8_tail_length(p[i]);
        std::uint32_t code = 0;
        constexpr std::uint32_t least[] = {0, 0x80, 0x800, 0x10000}; // an overlong form is no UTF-8
        if (tail < 0 || tail > 3 || i + static_cast<std::size_t>(tail) >= bytes.size() ||
            !cl::utf8_value(p + i, tail, code) || code < least[tail] || code > 0x10FFFF ||
            (code >= 0xD800 && code <= 0xDFFF))
            return cl::narrow_to_wide(bytes, 0);
        const cl::utf16_units units = cl::to_units(code);
        text += static_cast<wchar_t>(units.first);
        if (units.low != 0)
            text += static_cast<wchar_t>(units.low);
        i += static_cast<std::size_t>(tail) + 1;
    }
    return text;
}

std::wstring day_text(std::int64_t day) {
    const std::chrono::year_month_day date{std::chrono::sys_days{std::chrono::days{day}}};
    return cl::text(L"%04?-%02?-%02?", static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                    static_cast<unsigned>(date.day()));
}

std::wstring time_text(local_ms time) {
    const std::int64_t day = day_nearest(time, static_cast<std::int32_t>(day_ms / 2));
    const auto ms = static_cast<std::uint32_t>(time - day * day_ms);
    // By hand: a log has hundreds of thousands of lines.
    std::wstring text = day_text(day) + L" 00:00:00.000";
    const auto put = [&text](std::size_t last_from_end, std::uint32_t number) {
        for (std::size_t at = text.size() - last_from_end; number != 0; number /= 10)
            text[--at] = static_cast<wchar_t>(L'0' + number % 10);
    };
    put(10, ms / 3'600'000);
    put(7, ms / 60'000 % 60);
    put(4, ms / 1000 % 60);
    put(0, ms % 1000);
    return text;
}

namespace {

// Two or more digits at `at`, of a number from `least` to `most`; -1 otherwise.
int number_at(std::wstring_view text, std::size_t at, std::size_t digits, int least, int most) {
    int number = 0;
    if (text.size() < at + digits)
        return -1;
    for (const wchar_t c : text.substr(at, digits)) {
        if (c < L'0' || c > L'9')
            return -1;
        number = number * 10 + static_cast<int>(c - L'0');
    }
    return number >= least && number <= most ? number : -1;
}

} // namespace

std::optional<std::int64_t> parse_day(std::wstring_view text) {
    if (text.size() != 10 || text[4] != L'-' || text[7] != L'-')
        return {};
    const int year = number_at(text, 0, 4, 1970, 9999), month = number_at(text, 5, 2, 1, 12),
              day = number_at(text, 8, 2, 1, 31);
    if (year < 0 || month < 0 || day < 0)
        return {};
    const std::chrono::year_month_day date{std::chrono::year(year),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day))};
    if (!date.ok())
        return {};
    return std::chrono::sys_days{date}.time_since_epoch().count();
}

std::optional<std::int32_t> parse_time_of_day(std::wstring_view text) {
    if ((text.size() != 5 && text.size() != 8) || text[2] != L':' || (text.size() == 8 && text[5] != L':'))
        return {};
    const int hour = number_at(text, 0, 2, 0, 23), minute = number_at(text, 3, 2, 0, 59),
              second = text.size() == 8 ? number_at(text, 6, 2, 0, 59) : 0;
    if (hour < 0 || minute < 0 || second < 0)
        return {};
    return ((hour * 60 + minute) * 60 + second) * 1000;
}

} // namespace vfl::ctl
