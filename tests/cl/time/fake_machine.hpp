// A machine whose time sources the test makes up. Its time moves by 1 ms with each look at the tick count,
// by the length of a sleep, and by hand. Not thread-safe.
#pragma once

#include "cl/time/clock_sources.hpp"

#include <cstdint>
#include <deque>
#include <string>

namespace fakes {

struct machine {
    bool has_tsc = false;
    std::uint32_t processors = 1;
    std::uint64_t tsc_hz = 3000000000;    // not above 10^12
    std::uint64_t tsc_hz_later = 0;       // from the second calibration sample on; 0 means no change
    std::deque<std::uint64_t> tsc_script; // what the next readings give instead

    bool perf_ok = true;
    std::uint64_t perf_hz = 10000000;

    std::string mm_fault; // "caps", "begin" or "end" fails
    std::uint32_t mm_period = 1;
    std::uint32_t interrupt_period = 10000;

    std::uint32_t tick_start = 1000;
    std::uint32_t tick_step_ms = 500; // so long that rates come out exactly

    // Raised and dropped periods and priorities, in order; those of the probe of the multimedia timer too.
    std::string calls;

    void advance_ns(std::uint64_t ns);
    std::uint64_t ns = 0;       // since the start
    std::uint64_t tsc_rest = 0; // the counter: billionths of a tick
    std::uint64_t tsc_now = 0;  // and whole ticks
    int samples = 0;            // of a calibration, finished

    // The one machine of the process; assign machine{} to start afresh.
    static machine& instance();
};

extern const cl::clock_sources machine_sources;

} // namespace fakes
