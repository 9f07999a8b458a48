// The clock on this machine's own sources.
#include "cl/os/clock.hpp"
#include "cl/sys/cpu_info.hpp"
#include "cl/sys/os_info.hpp"
#include "cl/time/hrtime.hpp"
#include "cl/time/nt_timer_resolution.hpp"

#include <gtest/gtest.h>
#include <windows.h>

#include <winternl.h>

using namespace cl;

extern "C" NTSYSAPI NTSTATUS NTAPI NtQueryTimerResolution(PULONG, PULONG, PULONG);

TEST(windows_clock, every_source_moves) {
    fill_os_info(read_os_facts());
    fill_cpu_info();
    create_libraries(windows_modules);

    fact_store facts;
    hrtime_clock clock(windows_clock_sources, facts);
    LARGE_INTEGER hz;
    QueryPerformanceFrequency(&hz);
    const std::uint64_t first = clock.now();
    EXPECT_EQ(clock.mode, source_perfcnt);
    EXPECT_EQ(clock.frequency, static_cast<std::uint64_t>(hz.QuadPart));
    EXPECT_TRUE(facts.read("hrtime").starts_with(L"Using performance counter running at "))
        << testing::PrintToString(facts.read("hrtime"));
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    EXPECT_LE(first, static_cast<std::uint64_t>(now.QuadPart));
    // The time of a sleep, give or take the load of the machine.
    os::sleep_ms(30);
    EXPECT_GE(elapsed_ns(clock.now() - first, clock.frequency), 29000000u);

    const int priority = GetThreadPriority(GetCurrentThread());
    for (const auto source : {source_tsc, source_tsc_raw, source_mmtime, source_ticks}) {
        SCOPED_TRACE(source);
        ASSERT_TRUE(clock.select_source(source));
        if (source == source_mmtime || source == source_ticks || cpu_info.has_tsc()) {
            EXPECT_EQ(clock.mode, source);
        }
        const std::uint64_t before = clock.now();
        os::sleep_ms(30);
        EXPECT_GT(clock.now(), before);
    }
    EXPECT_EQ(GetThreadPriority(GetCurrentThread()), priority);
}

TEST(windows_clock, the_interrupt_period_is_the_system_s) {
    create_libraries(windows_modules);
    ULONG coarsest = 0, finest = 0, current = 0;
    ASSERT_EQ(NtQueryTimerResolution(&coarsest, &finest, &current), 0);
    EXPECT_EQ(windows_clock_sources.interrupt_period(), current);
    EXPECT_NE(current, 0u);
}
