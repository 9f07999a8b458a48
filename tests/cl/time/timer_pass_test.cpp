// What the model of the passes leaves out.
#include "fakes/simulated_timer.hpp"

#include <gtest/gtest.h>

using namespace cl;
using fakes::simulated_timer;

TEST(timer_pass, limits_of_an_interval) {
    constexpr std::uint32_t most = 0x7FFFFFFF;
    const struct {
        std::uint32_t start,
            age; // tick at which the timer is made, and how long after that the entry is armed
        std::uint64_t interval;
        std::uint32_t call_ms, due; // counted from the arming
    } rows[] = {
        {0x7FFFFFC0, 0, most, 0, most}, // across the wrap
        {5, 0, most + 1ull, 0, 0},      // 2^31 ms are due at once
        {0, 0, 0x100000005, 0, 5},      // only 32 bits count
        {0xFFFFFFF0, 70, 100, 7, 100},  // the delay counts from the arming
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.interval);
        simulated_timer::now = row.start;
        simulated_timer timer;
        simulated_timer::now += row.age;
        timer_handle handle{nullptr};
        bool fired = false;
        const auto call = [&] {
            fired = true;
            simulated_timer::now += row.call_ms;
        };
        timer.start(&handle, call, row.interval, timer_once, false);
        if (row.due != 0) {
            EXPECT_EQ(timer.pass_after(row.due - 1), 1u);
            EXPECT_FALSE(fired);
        }
        // Deliberate: what a sweep took is taken off the time-out without limit as well.
        EXPECT_EQ(timer.pass_after(row.due != 0), os::no_limit - row.call_ms);
        EXPECT_TRUE(fired && handle == nullptr);
        EXPECT_EQ(timer.run_pass(), os::no_limit);
    }
}

TEST(timer_pass, event_driven_entries) {
    simulated_timer timer;
    event repeated, single;
    timer_handle r{nullptr}, s{nullptr}, other{nullptr};
    std::string log;
    const auto arm = [&](timer_handle& key, event* on, std::uint32_t flags, const std::function<void()>& f) {
        timer.start(&key, f, reinterpret_cast<std::uint64_t>(on), flags | (on ? timer_on_event : 0), false);
    };
    arm(r, &repeated, 0, [&] { log += 'r'; });
    arm(s, &single, timer_once, [&] { log += 's'; });
    EXPECT_EQ(timer.pass_after(1000000), os::no_limit);
    EXPECT_EQ(timer.handles, (std::vector{repeated.handle(), single.handle()}));
    repeated.set();
    single.set();
    EXPECT_EQ(timer.run_pass(), os::no_limit);
    EXPECT_EQ(log, "rs");
    EXPECT_FALSE(repeated.test() || single.test() || s != nullptr);
    EXPECT_EQ(timer.handles, std::vector{repeated.handle()});

    // A stop waits until the worker has let the event go, but not in any callback of the timer.
    const auto stop_r = [&] { EXPECT_TRUE(stop(&r, true, false)); };
    arm(other, nullptr, timer_once, stop_r);
    timer.run_pass();
    arm(r, &repeated, 0, stop_r);
    repeated.set();
    timer.run_pass();
    EXPECT_EQ(timer.due_waits, 0);
    for (const bool wait : {false, true}) {
        arm(r, &repeated, 0, [] {});
        EXPECT_TRUE(stop(&r, wait, false));
        EXPECT_EQ(timer.due_waits, wait);
    }
}
