// The clock of cl/os/clock.hpp: the real one, until a test takes it in hand with reset(). Thread-safe, except
// for on_sleep.
#pragma once

#include "cl/os/clock.hpp"

#include <functional>

namespace fakes {

struct clock {
    // In hand: at tick 0, 2026-01-02 03:04:05.006, and 1767323045 seconds since 1970; no sleep hook.
    static void reset();
    static void set_ticks(std::uint32_t ticks);
    static void set_local(const cl::os::local_time& now);
    static void set_unix(std::int64_t seconds);
    // Moves the tick counter alone, wrapping at 2^32. A sleep advances it the same way.
    static void advance(std::uint32_t ms);
    static std::uint64_t slept_ms();
    // Called in each sleep, after the time has been advanced.
    static void on_sleep(std::function<void(std::uint32_t ms)> hook);
    // The real clock again.
    static void end();
};

} // namespace fakes
