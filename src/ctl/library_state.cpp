#include "ctl/library_state.hpp"

namespace vfl::ctl {

namespace {

// The banner is written while the process starts, which takes seconds on a busy machine.
constexpr local_ms most_start_ms = 120'000;
// The process's start and the log's times are of clocks that differ by a step at the most.
constexpr local_ms clock_step_ms = 50;

} // namespace

library_report find_library_state(const log_text& log, std::optional<local_ms> process_start) {
    library_report report;
    std::size_t first = log.lines.size();
    for (std::size_t i = log.lines.size(); i-- > 0;) {
        if (log.lines[i].banner) {
            first = i;
            break;
        }
    }
    if (first == log.lines.size())
        return report;
    if (process_start) {
        const local_ms after = log.lines[first].time() - *process_start;
        if (after < -clock_step_ms || after > most_start_ms)
            return report;
    }
    for (std::size_t i = first; i < log.lines.size(); ++i) {
        const log_line& line = log.lines[i];
        const std::string_view text = std::string_view(log.bytes).substr(line.begin, line.end - line.begin);
        const bool not_loaded = text.starts_with("Unable to load ");
        if (text.starts_with("start_service()"))
            report.state = library_state::loaded;
        if (!not_loaded && !text.starts_with("start_service reported an error"))
            continue;
        report.state = library_state::missing;
        if (!report.line) {
            report.line = line;
            report.reason = line_text(text);
        }
    }
    return report;
}

} // namespace vfl::ctl
