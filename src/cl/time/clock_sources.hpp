// What the clock needs from the machine: one small list of operations, so that the choice of a source and the
// calibration also run on simulated machines.
#pragma once

#include <cstdint>

namespace cl {

// All may be called by any thread. None may be null.
struct clock_sources {
    // Whether the processor reports a time stamp counter, and the number of processors.
    bool (*has_tsc)();
    std::uint32_t (*processors)();

    // The processor's time stamp counter.
    std::uint64_t (*tsc)();
    // Milliseconds modulo 2^32, in steps of some milliseconds.
    std::uint32_t (*tick_count)();

    // The performance counter: ticks per second (false when the query fails), and the reading.
    bool (*perf_frequency)(std::uint64_t& hz);
    std::uint64_t (*perf_counter)();

    // The multimedia timer: its finest period in ms; holding and releasing a period; and the reading in ms
    // modulo 2^32. The first three return false on failure.
    bool (*mm_min_period)(std::uint32_t& ms);
    bool (*mm_begin_period)(std::uint32_t ms);
    bool (*mm_end_period)(std::uint32_t ms);
    std::uint32_t (*mm_time)();
    // The period of the timer interrupt in units of 100 ns; 0 when it isn't known.
    std::uint32_t (*interrupt_period)();

    // Raises the calling thread to time critical and returns the priority that it had, for restore_priority.
    std::int32_t (*raise_priority)();
    void (*restore_priority)(std::int32_t priority);
    void (*sleep_ms)(std::uint32_t ms);
};

// Those of this machine; Windows only. cpu_info, os_info and the library table must be there.
extern const clock_sources windows_clock_sources;

} // namespace cl
