// The log as lines with their times. The log has times of day alone: the days are found from the files' last
// writes, backwards, and from what else is known, forwards.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vfl::ctl {

// Local milliseconds since 1970-01-01 00:00 local time.
using local_ms = std::int64_t;
inline constexpr local_ms day_ms = 86'400'000;

struct log_line {
    std::size_t begin, end;   // in the text, without stamp and line end
    std::int32_t time_of_day; // ms; of a line without a stamp that of the line before it
    std::int32_t run;         // 1 is the oldest; what comes before the first banner belongs to run 1
    bool stamped;
    bool banner;          // the first line of a run
    bool certain = false; // whether `day` is the only possible one; otherwise it is the latest possible
    std::int64_t day = 0; // since 1970-01-01
    [[nodiscard]] local_ms time() const { return day * day_ms + time_of_day; }
};

// One file of the log. `last_write` dates its last line; nothing when it isn't known.
struct log_part {
    std::string bytes;
    std::optional<local_ms> last_write;
};

struct log_text {
    std::string bytes;
    std::vector<log_line> lines;
    std::size_t runs = 0;
};

// Splits the parts, the oldest first, and dates their lines. `last_banner` is the start of the process that
// writes the log, when it is known: the day of the last run's first line.
log_text read_log(const std::vector<log_part>& parts, std::optional<local_ms> last_banner);

// The time of day of a line's stamp, "HHMMSS-mmm " at its start; nothing when it has none.
std::optional<std::int32_t> stamp_of(std::string_view line);
inline constexpr std::size_t stamp_size = 11;

// UTF-8 where it is valid, else the ANSI code page.
std::wstring line_text(std::string_view bytes);

// "2026-05-19 23:59:07.042", and the day alone.
std::wstring time_text(local_ms time);
std::wstring day_text(std::int64_t day);

// Reads "YYYY-MM-DD", and "HH:MM" with or without ":SS".
std::optional<std::int64_t> parse_day(std::wstring_view text);
std::optional<std::int32_t> parse_time_of_day(std::wstring_view text);

} // namespace vfl::ctl
