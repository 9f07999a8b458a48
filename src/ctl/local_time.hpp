// Local time by the machine's time zone, with the daylight saving that held at the moment in question.
#pragma once

#include "ctl/log_lines.hpp"

#include <cstdint>

namespace vfl::ctl {

// From a file time: units of 100 ns since 1601-01-01 UTC.
local_ms to_local(std::uint64_t file_time);

local_ms local_now();

// Minutes by which local time is before UTC's at that local moment.
int utc_offset_minutes(local_ms time);

} // namespace vfl::ctl
