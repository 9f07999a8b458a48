#include "cl/os/clock.hpp"
#include "cl/os/never_destroyed.hpp"
#include "cl/sys/bound_function.hpp"
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

struct multimedia_timer {
    bound_function<decltype(timeGetDevCaps)> capabilities{L"WINMM.DLL", "timeGetDevCaps"};
    bound_function<decltype(timeBeginPeriod)> begin_period{L"WINMM.DLL", "timeBeginPeriod"};
    bound_function<decltype(timeEndPeriod)> end_period{L"WINMM.DLL", "timeEndPeriod"};
    bound_function<decltype(timeGetTime)> time{L"WINMM.DLL", "timeGetTime"};

    explicit operator bool() const { return capabilities && begin_period && end_period && time; }
};

// Never destroyed: the clock gives its period back at the end of the process.
const multimedia_timer& multimedia() {
    static never_destroyed<multimedia_timer> bound(std::in_place);
    return *bound;
}

bool mm_min_period(std::uint32_t& ms) {
    TIMECAPS caps{};
    static_assert(sizeof caps == 8);
    const bool ok = multimedia() && multimedia().capabilities(&caps, sizeof caps) == TIMERR_NOERROR;
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
    .mm_begin_period =
        [](std::uint32_t ms) { return multimedia() && multimedia().begin_period(ms) == TIMERR_NOERROR; },
    .mm_end_period =
        [](std::uint32_t ms) { return multimedia() && multimedia().end_period(ms) == TIMERR_NOERROR; },
    .mm_time = []() -> std::uint32_t { return multimedia() ? multimedia().time() : 0; },
    .interrupt_period = [] { return nt_timer_resolution().current(); },
    .raise_priority = raise_priority,
    .restore_priority = [](std::int32_t priority) { SetThreadPriority(GetCurrentThread(), priority); },
    .sleep_ms = os::sleep_ms,
};

} // namespace cl
