// The time sources that the clock chooses from, by number and by name.
#pragma once

#include <cstdint>
#include <string_view>

namespace cl {

enum time_source : std::int32_t {
    source_automatic = -1, // a request for the best one; the mode of a clock that has not chosen yet
    source_tsc = 1,        // the processor's counter, made monotonic
    source_perfcnt = 2,    // the performance counter
    source_ticks = 3,      // the tick count
    source_interrupt = 4,  // has a name and no reader
    source_tsc_raw = 5,    // the processor's counter as it is
    source_mmtime = 7      // the multimedia timer; 6 is nothing
};

// A two-way table. Names are compared exactly.
struct time_source_table {
    // 0 for a name that isn't there.
    std::int32_t value(std::string_view name) const;
    // "unknown" for a number that has no name.
    std::string_view name(std::int32_t value) const;
    bool has(std::int32_t value) const;
};

inline constexpr time_source_table time_source_names;

} // namespace cl
