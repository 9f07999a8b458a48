// Whether the service runs with its library: nobody but the log says so.
#pragma once

#include "ctl/log_lines.hpp"

#include <optional>
#include <string>

namespace vfl::ctl {

enum class library_state { unknown, loaded, missing };

struct library_report {
    library_state state = library_state::unknown;
    std::wstring reason;          // the log's line that says why it is missing
    std::optional<log_line> line; // the first line that says so
};

// Looks at the last run of the log. `process_start` is when the running service's process began: a run that
// began at another time is not its own, and says nothing.
library_report find_library_state(const log_text& log, std::optional<local_ms> process_start);

} // namespace vfl::ctl
