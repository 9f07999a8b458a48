#include "cl/os/clock.hpp"
#include "cl/sys/cpu_info.hpp"
#include "cl/sys/os_info.hpp"
#include "cl/time/clock_sources.hpp"
#include "cl/time/nt_timer_resolution.hpp"

#include <windows.h>

#include <mmsystem.h>
#include <x86intrin.h>

namespace cl {

namespace {

bool perf_frequency(std::uint64_t& hz) {
    LARGE_INTEGER value{};
    const bool ok = QueryPerformanceFrequency(&value) != 0;
    hz = static_cast<std::uint64_t>(value.QuadPart);
    return ok;
}

std::uint64_t perf_counter() {
    LARGE_INTEGER value{};
    QueryPerformanceCounter(&value);
    return static_cast<std::uint64_t>(value.QuadPart);
}

bool mm_min_period(std::uint32_t& ms) {
    TIMECAPS caps{};
    static_assert(sizeof caps == 8);
    const bool ok = timeGetDevCaps(&caps, sizeof caps) == TIMERR_NOERROR;
    ms = caps.wPeriodMin;
    return ok;
}

std::int32_t raise_priority() {
    const int before = GetThreadPriority(GetCurrentThread());
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_TIME_CRITICAL);
    return before;
}

} // namespace

constinit const clock_sources windows_clock_sources{
    .has_tsc = [] { return cpu_info.has_tsc(); },
    .processors = [] { return os_info.processors; },
    .tsc = []() -> std::uint64_t { return __rdtsc(); },
    .tick_count = os::tick_count,
    .perf_frequency = perf_frequency,
    .perf_counter = perf_counter,
    .mm_min_period = mm_min_period,
    .mm_begin_period = [](std::uint32_t ms) { return timeBeginPeriod(ms) == TIMERR_NOERROR; },
    .mm_end_period = [](std::uint32_t ms) { return timeEndPeriod(ms) == TIMERR_NOERROR; },
    .mm_time = []() -> std::uint32_t { return timeGetTime(); },
    .interrupt_period = [] { return nt_timer_resolution().current(); },
    .raise_priority = raise_priority,
    .restore_priority = [](std::int32_t priority) { SetThreadPriority(GetCurrentThread(), priority); },
    .sleep_ms = os::sleep_ms,
};

} // namespace cl
