#include "cl/time/timer_round.hpp"

using namespace cl;
using fakes::simulated_timer;

TEST(timer_pass, rounds) {
    std::size_t calls = 0;
    run_seeds(2000, [&](choices& numbers) { calls += timer_round(numbers); });
    EXPECT_GT(calls, std::getenv("VFL_SEED") ? 0u : 50000u); // the schedules are not idle
}

TEST(timer_pass, limits_of_an_interval) {
    const struct {
        std::uint64_t interval;
        std::uint32_t age, due; // ms from the timer's making to the arming, and from there to the call
    } rows[] = {{0x7FFFFFFF, 0x90000000, 0x7FFFFFFF}, {0x80000000, 5, 0}, {0x100000005, 0, 5}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.interval);
        simulated_timer timer;
        simulated_timer::now += row.age;
        timer_handle handle{nullptr};
        const auto call = [] { simulated_timer::now += 7; };
        timer.start(&handle, call, row.interval, timer_once, false);
        EXPECT_TRUE(row.due == 0 || timer.pass_after(row.due - 1) == 1);
        // Deliberate: what a sweep took is taken off the time-out without limit as well.
        EXPECT_EQ(timer.pass_after(row.due != 0), os::no_limit - 7);
        EXPECT_EQ(handle, nullptr);
    }
}

TEST(timer_pass, event_driven_entries) {
    simulated_timer timer;
    event repeated, single, not_created(L"natively no event has a name");
    timer_handle r{nullptr}, s{nullptr}, n{nullptr}, other{nullptr};
    std::string log;
    const auto note_r = [&] { log += 'r'; };
    const auto note_s = [&] { log += 's'; };
    timer.start(&r, note_r, repeated, 0, false);
    timer.start(&s, note_s, single, timer_once, false);
    if (!not_created.is_valid())
        timer.start(&n, note_s, not_created, 0, false);
    timer.run_pass();
    EXPECT_EQ(timer.handles, (std::vector{repeated.handle(), single.handle()}));
    repeated.set();
    single.set();
    EXPECT_EQ(timer.run_pass(), os::no_limit);
    EXPECT_EQ(log, "rs");
    EXPECT_FALSE(repeated.test() || single.test() || s != nullptr);
    EXPECT_EQ(timer.handles, std::vector{repeated.handle()});

    // A stop waits until the worker has let the event go, but not in any callback of the timer.
    const auto stop_r = [&] { EXPECT_TRUE(stop_and_wait(&r)); };
    timer.start_once(&other, stop_r, 0);
    timer.run_pass();
    timer.start(&r, stop_r, repeated, 0, false);
    repeated.set();
    timer.run_pass();
    EXPECT_EQ(timer.due_waits, 0);
    timer.start(&r, note_r, repeated, 0, false);
    stop_r();
    EXPECT_EQ(timer.due_waits, 1);
}
