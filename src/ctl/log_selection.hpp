// Which lines of the log are shown, and how.
#pragma once

#include "ctl/log_lines.hpp"
#include "ctl/message_page.hpp"
#include "ctl/options.hpp"

#include <functional>
#include <limits>

namespace vfl::ctl {

enum class log_form { text, raw, json };

struct log_selection {
    std::size_t run = last_run;                                 // from 1; or one of the two below
    std::size_t last = std::numeric_limits<std::size_t>::max(); // lines to show at the most, the last ones
    std::wstring since, until;                                  // as given; checked by read_selection
    std::wstring grep;
    log_form form = log_form::text;
    const message_page* page = nullptr; // to explain with; null for no explanation

    static constexpr std::size_t last_run = 0, all_runs = std::numeric_limits<std::size_t>::max();
};

// Reads the options of the command; `error` is a line for the user when one is wrong.
struct read_selection_result {
    log_selection selection;
    std::wstring error;
};
read_selection_result read_selection(const arguments& args);

// The numbers of the lines to show, in order.
std::vector<std::size_t> select_lines(const log_text& log, const log_selection& selection);

// Minutes that local time is before UTC's at that local moment.
using utc_offset = std::function<int(local_ms)>;

// One line with its stamp, without its end.
std::string_view whole_line(const log_text& log, const log_line& line);

// One line as it is shown, with its line end. A line without a stamp is indented below the one before it.
std::string raw_line(const log_text& log, const log_line& line);
std::wstring shown_line(const log_text& log, const log_line& line, const log_selection& selection);
std::string json_line(const log_text& log, const log_line& line, const utc_offset& offset);

// "2026-05-19T23:59:07.042+02:00"
std::wstring iso_time(local_ms time, int offset_minutes);

} // namespace vfl::ctl
