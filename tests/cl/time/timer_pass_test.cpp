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

TEST(timer_pass, fires_in_the_order_of_arming) {
    simulated_timer timer(0);
    timer_handle keys[4]{};
    std::string order;
    for (const int i : {2, 0, 3, 1})
        timer.arm(keys[i], static_cast<std::uint64_t>(10 - i), timer_once,
                  [&order, i] { order += static_cast<char>('0' + i); });
    timer.pass_after(10);
    EXPECT_EQ(order, "2031");
    EXPECT_EQ(timer.due_counts, std::vector<std::size_t>{4});
}

TEST(timer_pass, an_armed_entry_is_left_alone_unless_replaced) {
    simulated_timer timer(0);
    timer_handle key{nullptr};
    std::string log;
    timer.arm(key, 100, 0, [&] { log += 'a'; });
    timer.pass_after(60);
    timer.arm(key, 500, timer_once, [&] { log += 'b'; });
    timer.pass_after(40);
    EXPECT_EQ(log, "a");
    timer.replace(key, 150, timer_once, [&] { log += 'c'; });
    EXPECT_EQ(timer.pass_after(149), 1u);
    timer.pass_after(1);
    EXPECT_EQ(log, "ac");
    EXPECT_EQ(timer.starts, 2u);
    EXPECT_EQ(timer.wakes, 2);
}

TEST(timer_pass, an_empty_callback_and_a_timer_that_is_not_ready_arm_nothing) {
    simulated_timer timer(0);
    timer_handle key{nullptr};
    timer.replace(key, 0, timer_once, nullptr);
    EXPECT_EQ(key.load(), nullptr);
    EXPECT_FALSE(stop(&key, true, false));
    EXPECT_EQ(timer.stops, 0u);
    timer.replace(key, 0, timer_once, [] { FAIL(); });
    timer.ready = false;
    EXPECT_FALSE(stop(&key, true, false));
    EXPECT_EQ(key.load(), nullptr);
    timer.replace(key, 0, timer_once, [] { FAIL(); });
    EXPECT_EQ(key.load(), nullptr);
    timer.ready = true;
    EXPECT_TRUE(timer.stop(&key, true, false)); // the entry itself was still there
    EXPECT_FALSE(timer.stop(&key, true, false));
    timer.pass_after(1);
}

// What a callback does to its own entry and to one that is due after it in the same sweep.
TEST(timer_pass, changes_from_inside_a_callback) {
    struct {
        const char* name;
        std::function<void(simulated_timer&, timer_handle&, timer_handle&, std::string&)> first;
        std::uint32_t flags;      // of the first entry; the second is a single shot
        const char *log, *log_10; // calls in this pass, and with the next one after 10 ms
        bool armed;               // whether the first entry is armed after both
    } const rows[] = {
        {"stop of the other", [](auto&, auto&, auto& b, auto&) { EXPECT_TRUE(stop(&b, true, false)); },
         timer_once, "a", "a", false},
        // It is on the list of the due already, so it fires with the new callback, and the new deadline is
        // lost.
        {"replacement of the other",
         [](auto& t, auto&, auto& b, auto& log) { t.replace(b, 10, timer_once, [&log] { log += 'n'; }); },
         timer_once, "an", "an", false},
        {"arming of the other anew after a stop",
         [](auto& t, auto&, auto& b, auto& log) {
             stop(&b, true, false);
             t.arm(b, 10, timer_once, [&log] { log += 'n'; });
         },
         timer_once, "a", "an", false},
        {"arming of a single shot again",
         [](auto& t, auto& a, auto&, auto& log) { t.arm(a, 10, timer_fixed, [&log] { log += 'n'; }); },
         timer_once, "ab", "abn", true},
        {"arming of a repeated entry is ignored",
         [](auto& t, auto& a, auto&, auto& log) { t.arm(a, 10, timer_once, [&log] { log += 'n'; }); }, 0,
         "ab", "aba", true},
        {"replacement of itself",
         [](auto& t, auto& a, auto&, auto& log) { t.replace(a, 10, timer_once, [&log] { log += 'n'; }); }, 0,
         "ab", "abn", false},
        {"stop of itself",
         [](auto&, auto& a, auto&, auto&) {
             EXPECT_TRUE(stop(&a, true, false));
             EXPECT_EQ(a.load(), nullptr);
         },
         0, "ab", "ab", false},
        {"stop of itself and a new start",
         [](auto& t, auto& a, auto&, auto& log) {
             EXPECT_TRUE(stop(&a, true, false));
             t.arm(a, 10, timer_once, [&log] { log += 'n'; });
         },
         timer_once, "ab", "abn", false},
        {"forced stop of itself and a new start",
         [](auto& t, auto& a, auto&, auto& log) {
             EXPECT_TRUE(stop(&a, true, true));
             t.arm(a, 10, timer_fixed, [&log] { log += 'n'; });
         },
         timer_once, "ab", "abn", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::string log;
        simulated_timer timer(0xFFFFFFF8);
        timer_handle a{nullptr}, b{nullptr};
        bool first = true;
        timer.arm(a, 10, row.flags, [&] {
            log += 'a';
            if (std::exchange(first, false))
                row.first(timer, a, b, log);
        });
        timer.arm(b, 10, timer_once, [&] { log += 'b'; });
        timer.pass_after(10);
        EXPECT_EQ(log, row.log);
        timer.pass_after(10);
        EXPECT_EQ(log, row.log_10);
        EXPECT_EQ(a.load(), row.armed ? &timer : nullptr);
        EXPECT_EQ(b.load(), nullptr);
        const std::size_t before = log.size();
        EXPECT_EQ(stop(&a, true, false), row.armed);
        timer.pass_after(100);
        EXPECT_EQ(log.size(), before);
        timer.pass_after(0);
        EXPECT_EQ(timer.count_stat.minimum, 0u); // nothing stays behind
    }
}

TEST(timer_pass, only_a_forced_stop_forgets_the_handle_at_once) {
    for (const bool force : {false, true}) {
        simulated_timer timer(0);
        timer_handle key{nullptr};
        timer.arm(key, 0, timer_once, [&] {
            stop(&key, false, force);
            key = &timer; // a mark that the engine must not touch if the owner is gone
        });
        timer.pass_after(0);
        EXPECT_EQ(key.load(), force ? &timer : nullptr);
    }
}

TEST(timer_pass, a_running_callback_survives_its_replacement) {
    simulated_timer timer(0);
    timer_handle key{nullptr};
    auto owned = std::make_shared<int>(7);
    const std::weak_ptr<int> watch = owned;
    bool alive = false;
    timer.arm(key, 0, timer_once, [&timer, &key, &alive, watch, owned = std::move(owned)] {
        timer.replace(key, 5, timer_once, [] {});
        alive = !watch.expired();
    });
    timer.pass_after(0);
    EXPECT_TRUE(alive);
    EXPECT_TRUE(watch.expired());
    EXPECT_EQ(key.load(), &timer);
}

// What a callback owns may use locks and the timer when it goes, whichever way it goes.
TEST(timer_pass, what_callbacks_own_is_destroyed_without_the_lock) {
    struct probe {
        base_timer& timer;
        int& free;
        probe(base_timer& t, int& f) : timer(t), free(f) {}
        ~probe() {
            // The lock is recursive, so another thread has to ask.
            std::thread([this] {
                if (timer.lock.try_lock()) {
                    timer.lock.unlock();
                    ++free;
                }
            }).join();
        }
    };
    int free = 0;
    timer_handle keys[4]{};
    {
        simulated_timer timer(0);
        for (timer_handle& key : keys)
            timer.arm(key, 5, timer_once, [p = std::make_shared<probe>(timer, free)] {});
        timer.replace(keys[0], 5, timer_once, [] {});
        EXPECT_EQ(free, 1);
        stop(&keys[1], true, false);
        timer.pass_after(0);
        EXPECT_EQ(free, 2);
        stop(&keys[2], true, false);
        timer.replace(keys[0], 5, timer_once, [&] { EXPECT_EQ(free, 3); });
        timer.pass_after(5);
        timer.pass_after(0);
        timer.replace(keys[3], 5, timer_once, [p = std::make_shared<probe>(timer, free)] { FAIL(); });
        EXPECT_EQ(free, 4);
    }
    EXPECT_EQ(free, 5);
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

TEST(timer_pass, figures) {
    simulated_timer timer(50);
    timer_handle a{nullptr}, b{nullptr};
    timer.arm(a, 10, 0, [] { simulated_timer::now += 4; });
    timer.arm(b, 20, timer_once, [] { simulated_timer::now += 1; });
    timer.sweep_ms = 2;
    // Four sweeps, at 23, 30, 36 and 42 ms; the last leaves 8 ms, of which it took 6.
    EXPECT_EQ(timer.pass_after(23), 2u);
    using v = std::vector<std::uint64_t>;
    const auto figures = [](const statistics& f) { return v{f.sum, f.minimum, f.maximum, f.count}; };
    EXPECT_EQ(figures(timer.late_stat), (v{13 + 3 + 10 + 6 + 2, 2, 13, 5}));
    EXPECT_EQ(figures(timer.due_stat), (v{5, 1, 2, 4}));
    EXPECT_EQ(figures(timer.count_stat), (v{6, 1, 2, 4}));
    EXPECT_EQ(figures(timer.pass_stat), (v{25, 6, 7, 4}));
    EXPECT_EQ(figures(timer.wait_stat), (v{2, 2, 2, 1}));
    EXPECT_EQ(timer.callback_calls, 5u);
    EXPECT_EQ(timer.callback_ms, 17u);
    EXPECT_EQ(timer.passes, 1u);
    EXPECT_EQ(timer.empty_passes, 0u);
    EXPECT_EQ(timer.idle_returns, 0u);
    EXPECT_EQ(figures(statistics{}), (v{0, ~std::uint64_t{0}, 0, 0}));
}
