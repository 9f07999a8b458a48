#include "simulated_timer.hpp"

#include <gtest/gtest.h>
#include <thread>

using namespace cl;

namespace {

using ticks = std::vector<std::uint32_t>;
constexpr std::uint32_t hour = 3600000;
constexpr std::uint32_t none = os::no_limit;
constexpr std::uint32_t wrap = 0xFFFFFF80, most = 0x7FFFFFFF;
constexpr std::uint32_t once = timer_once;

struct schedule {
    const char* name;
    std::uint32_t start;    // tick at which the timer is made
    std::uint32_t age;      // and how long after that the entry is armed
    std::uint64_t interval; // ms
    std::uint32_t flags;
    ticks costs;    // ms that each call takes; the rest take none
    ticks passes;   // when, counted from the arming
    ticks fired;    // calls, counted from the arming
    ticks timeouts; // what the passes return
};

const schedule schedules[] = {
    {"once, at its deadline", 0, 0, 100, once, {}, {0, 99, 100, 500}, {100}, {100, 1, none, none}},
    {"once, late", 5, 0, 100, once, {}, {1234}, {1234}, {none}},
    {"once without a delay", 0, 0, 0, once, {}, {0}, {0}, {none}},
    {"the delay counts from the arming", 0, 70, 100, once, {}, {99, 100}, {100}, {1, none}},
    {"once beats fixed", 0, 0, 10, once | timer_fixed, {}, {10, 20}, {10}, {none, none}},
    {"across the wrap", 0xFFFFFFF0, 8, 100, once, {}, {3, 9, 99, 100}, {100}, {97, 91, 1, none}},
    {"2^31 - 1 ms across it", wrap / 2, 0, most, once, {}, {most - 1, most}, {most}, {1, none}},
    {"2^31 ms are due at once", 0, 0, most + 1ULL, once, {}, {0}, {0}, {none}},
    {"only 32 bits of an interval count", 0, 0, 0x100000005, once, {}, {5}, {5}, {none}},
    {"periodic keeps its phase", wrap, 0, 100, 0, {}, {130, 215, 300}, {130, 215, 300}, {70, 85, 100}},
    {"periodic catches up", 0, 0, 100, 0, {}, {350}, {350, 350, 350}, {50}},
    // The firing that is due, three of the backlog, and the one that is due by then.
    {"periodic, far behind, keeps three", 0, 0, 100, 0, {}, {1000}, ticks(5, 1000), {100}},
    {"so below an hour", 0, 0, hour - 1, 0, {}, {20 * hour}, ticks(5, 20 * hour), {hour - 1}},
    {"but not from an hour on", 0, 0, hour, 0, {}, {20 * hour}, ticks(20, 20 * hour), {hour}},
    {"fixed doesn't catch up", 0, 0, 100, timer_fixed, {}, {350, 449, 450}, {350, 450}, {100, 1, 100}},
    {"periodic, slow", 0, 0, 10, 0, {100, 100}, {10}, {10, 110, 210, 210, 210, 210, 210}, {10}},
    {"fixed, slow", 0, 0, 10, timer_fixed, {100, 100}, {10, 220}, {10, 110, 210, 220}, {10, 10}},
    {"calls shorten the wait", 0, 0, 100, 0, {30, 130}, {100, 200}, {100, 200, 330}, {70, 70}},
    {"even the one without limit", 0, 0, 10, once, {7}, {10, 20}, {10}, {none - 7, none}},
};

} // namespace

TEST(timer_pass, schedules) {
    for (const schedule& row : schedules) {
        SCOPED_TRACE(row.name);
        simulated_timer timer(row.start);
        simulated_timer::now += row.age;
        const std::uint32_t armed = simulated_timer::now;
        timer_handle handle{nullptr};
        ticks fired, timeouts;
        timer.arm(handle, row.interval, row.flags, [&] {
            const std::size_t n = fired.size();
            fired.push_back(simulated_timer::now - armed);
            simulated_timer::now += n < row.costs.size() ? row.costs[n] : 0;
        });
        EXPECT_EQ(timer.wakes, 1);
        for (const std::uint32_t at : row.passes) {
            timeouts.push_back(timer.pass_after(armed + at - simulated_timer::now));
        }
        EXPECT_EQ(fired, row.fired);
        EXPECT_EQ(timeouts, row.timeouts);
        std::erase(timeouts, none);
        EXPECT_EQ(timer.waits, timeouts);
        EXPECT_EQ(handle.load(), row.flags & timer_once ? nullptr : &timer);
        EXPECT_EQ(timer.ends, static_cast<int>(row.passes.size()));
    }
}

TEST(timer_pass, event_driven_entries) {
    simulated_timer timer(0);
    event repeated, single;
    timer_handle r{nullptr}, s{nullptr};
    std::string log;
    const auto address = [](event_base& e) { return reinterpret_cast<std::uint64_t>(&e); };
    timer.arm(r, address(repeated), timer_on_event, [&] { log += 'r'; });
    timer.arm(s, address(single), timer_on_event | timer_once, [&] { log += 's'; });
    EXPECT_EQ(timer.pass_after(1000000), none);
    EXPECT_EQ(timer.handles, (std::vector{repeated.handle(), single.handle()}));
    repeated.set();
    single.set();
    EXPECT_EQ(timer.pass_after(0), none);
    EXPECT_EQ(log, "rs");
    EXPECT_FALSE(repeated.test() || single.test());
    EXPECT_EQ(timer.handles, std::vector{repeated.handle()});
    EXPECT_EQ(s.load(), nullptr);
    EXPECT_EQ(timer.events_fired, 2u);

    // A stop waits until the worker has let the event go, but not in any callback of the timer.
    timer_handle other{nullptr};
    timer.arm(other, 0, timer_once, [&] { EXPECT_TRUE(stop(&r, true, false)); });
    timer.pass_after(0);
    EXPECT_EQ(timer.due_waits, 0);
    timer.arm(r, address(repeated), timer_on_event, [&] { EXPECT_TRUE(stop(&r, true, false)); });
    repeated.set();
    timer.pass_after(0);
    EXPECT_EQ(timer.due_waits, 0);
    for (const bool wait : {false, true}) {
        timer.arm(r, address(repeated), timer_on_event, [] {});
        EXPECT_TRUE(stop(&r, wait, false));
        EXPECT_EQ(timer.due_waits, wait ? 1 : 0);
    }
}
