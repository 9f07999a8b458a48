// The system's clocks. Any thread may call.
#pragma once

#include <cstdint>

namespace cl::os {

// Local wall-clock time. Fields as people count them: month and day from 1, hour from 0.
struct local_time {
    std::uint16_t year, month, day, hour, minute, second, millisecond;
};

// Milliseconds since the system started, modulo 2^32 (wraps every 49.7 days). Its step may be 16 ms.
std::uint32_t tick_count();

// Suspends the calling thread for at least `ms` milliseconds; 0xFFFFFFFF suspends for ever.
void sleep_ms(std::uint32_t ms);

local_time now_local();

// Seconds since 1970-01-01 UTC.
std::int64_t unix_time();

} // namespace cl::os
