// The clock on this machine's own sources.
#include "cl/sys/cpu_info.hpp"
#include "cl/sys/os_info.hpp"
#include "cl/time/hrtime.hpp"
#include "cl/time/nt_timer_resolution.hpp"

#include <gtest/gtest.h>

using namespace cl;

TEST(windows_clock, every_source_moves) {
    fill_os_info(read_os_facts());
    fill_cpu_info();
    create_libraries(windows_modules);
    fact_store facts;
    hrtime_clock clock(windows_clock_sources, facts);
    for (const auto source : {source_perfcnt, source_tsc, source_tsc_raw, source_mmtime, source_ticks}) {
        SCOPED_TRACE(source);
        ASSERT_TRUE(clock.select_source(source));
        EXPECT_TRUE(clock.mode == source || !cpu_info.has_tsc());
        const std::uint64_t before = clock.now();
        windows_clock_sources.sleep_ms(30);
        // A tick may be 16 ms long, and the sleep as much shorter.
        EXPECT_GT(elapsed_ns(clock.now() - before, clock.frequency), 10000000u);
    }
    EXPECT_NE(nt_timer_resolution().current(), 0u);
}
