// Readers on many threads.
#include "cl/time/hrtime.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace cl;

namespace {

// Relaxed, so that nothing here orders the threads that the clock doesn't order.
std::atomic<std::uint64_t> count;

// Rises, stalls, and falls back now and then.
std::uint64_t unsteady() {
    const std::uint64_t n = count.fetch_add(1, std::memory_order_relaxed);
    return n % 8 == 0 ? n / 2 : n - n % 3;
}
std::uint64_t steady() {
    return count.fetch_add(1, std::memory_order_relaxed) * 1000000;
}

// A counter of 1 GHz on one processor, where nothing else is but the ticks.
const clock_sources machine{
    .has_tsc = [] { return true; },
    .processors = []() -> std::uint32_t { return 1; },
    .tsc = steady,
    .tick_count = [] { return static_cast<std::uint32_t>(count.fetch_add(1, std::memory_order_relaxed)); },
    .perf_frequency = [](std::uint64_t&) { return false; },
    .perf_counter = []() -> std::uint64_t { return 0; },
    .mm_min_period = [](std::uint32_t&) { return false; },
    .mm_begin_period = [](std::uint32_t) { return false; },
    .mm_end_period = [](std::uint32_t) { return false; },
    .mm_time = []() -> std::uint32_t { return 0; },
    .interrupt_period = []() -> std::uint32_t { return 0; },
    .raise_priority = [] { return 0; },
    .restore_priority = [](std::int32_t) {},
    .sleep_ms = [](std::uint32_t ms) { count.fetch_add(ms, std::memory_order_relaxed); },
};

template <class F>
void on_threads(int n, const F& f) {
    std::vector<std::thread> threads;
    for (int i = 0; i < n; ++i)
        threads.emplace_back([&f, i] { f(i); });
    for (std::thread& t : threads)
        t.join();
}

} // namespace

TEST(hrtime, monotonic_readings_of_many_threads_rise_and_differ) {
    count = 1;
    clock_sources sources = machine;
    sources.tsc = unsteady;
    fact_store facts;
    hrtime_clock clock(sources, facts);
    clock.calibrations = 1; // taken as it stands
    ASSERT_TRUE(clock.select_source(source_tsc));

    constexpr int threads = 4, readings = 5000;
    std::vector<std::vector<std::uint64_t>> seen(threads);
    on_threads(threads, [&](int i) {
        for (int n = 0; n < readings; ++n)
            seen[static_cast<std::size_t>(i)].push_back(clock.now());
    });
    std::vector<std::uint64_t> all;
    for (const auto& s : seen) {
        EXPECT_TRUE(std::is_sorted(s.begin(), s.end()));
        all.insert(all.end(), s.begin(), s.end());
    }
    std::sort(all.begin(), all.end());
    EXPECT_EQ(std::adjacent_find(all.begin(), all.end()), all.end());
}

TEST(hrtime, first_readings_at_once_all_find_a_source) {
    for (int round = 0; round < 20; ++round) {
        count = 1;
        fact_store facts;
        hrtime_clock clock(machine, facts);
        std::atomic<int> good = 0;
        on_threads(4, [&](int) {
            const std::uint64_t reading = clock.now();
            good += reading != 0 && clock.frequency != 0 && clock.mode != source_automatic;
        });
        EXPECT_EQ(good, 4);
        EXPECT_NE(facts.read("hrtime"), L"");
    }
}
