#include "cl/time/passive_timer.hpp"

#include "fakes/simulated_timer.hpp"

#include <gtest/gtest.h>
#include <thread>

using namespace cl;

namespace {

std::uint64_t address(event_base& e) {
    return reinterpret_cast<std::uint64_t>(&e);
}

// A timer whose passes run on a thread of the test, and whose waiting stops spin.
struct spinning {
    fakes::simulated_timer timer;
    std::jthread worker{[this](std::stop_token stop) {
        while (!stop.stop_requested()) {
            timer.run_pass();
            std::this_thread::yield();
        }
    }};
};

} // namespace

// Both ways to wait: on an event, and spinning.
TEST(passive_timer, a_waiting_stop_returns_after_the_callback) {
    passive_timer blocking("test");
    spinning s;
    for (base_timer* timer : {static_cast<base_timer*>(&blocking), static_cast<base_timer*>(&s.timer)})
        for (const bool force : {false, true}) {
            timer_handle key{nullptr};
            event begun, go_on;
            int calls = 0; // plain: the stop orders it after the callback
            timer->start(
                &key,
                [&] {
                    begun.set();
                    go_on.wait();
                    ++calls;
                },
                0, timer_once, false);
            begun.wait();
            // Without `wait` it returns while the callback runs. The handle is null from then on.
            std::uint32_t stops = timer->stops;
            if (force) {
                EXPECT_TRUE(timer->stop(&key, false, false));
                ++stops;
            }
            std::thread releases([&] {
                for (bool waits = false; !waits; std::this_thread::yield()) {
                    const mutex_auto scope(timer->lock, true);
                    waits = timer->stops != stops;
                }
                go_on.set();
            });
            EXPECT_TRUE(timer->stop(&key, true, force));
            EXPECT_EQ(calls, 1);
            EXPECT_EQ(key.load(), nullptr);
            releases.join();
        }
}

TEST(passive_timer, a_sweep_is_flushed_through) {
    passive_timer timer("test");
    timer_handle key{nullptr};
    int calls = 0;
    for (int round = 1; round <= 500; ++round) {
        timer.start(
            &key, [&] { ++calls; }, 0, timer_once, false);
        timer.flush_sweep(0);
        ASSERT_EQ(calls, round);
    }
}

TEST(passive_timer, a_closed_gate_delays) {
    static std::atomic<int> refused, passed;
    refused = passed = 0;
    passive_timer timer("test");
    timer_handle key{nullptr};
    event fired;
    timer.gate = [](bool enter) {
        if (!enter)
            ++passed;
        return !enter || ++refused > 5;
    };
    timer.start(
        &key, [&] { fired.set(); }, 0, timer_once, false);
    fired.wait();
    timer.gate = [](bool) { return true; };
    timer.flush_sweep(0);
    EXPECT_GE(refused, 6);
    EXPECT_GE(passed, 1);
}

TEST(passive_timer, what_has_not_fired_at_the_end_is_dropped) {
    timer_handle keys[3]{};
    event signal;
    {
        passive_timer timer("test");
        const auto never = [] { ADD_FAILURE(); };
        timer.start(&keys[0], never, 60000, timer_once, false);
        timer.start(&keys[1], never, address(signal), timer_on_event, false);
        timer.shut_down();
        EXPECT_FALSE(timer.ready || timer.is_running());
        timer.shut_down();
        // From now on it does nothing, for any thread.
        timer.start(&keys[2], never, 0, timer_once, false);
        EXPECT_EQ(keys[2].load(), nullptr);
        EXPECT_FALSE(stop(&keys[0], true, false));
        EXPECT_EQ(keys[0].load(), nullptr);
        timer.flush_sweep(0);
    }
}

TEST(passive_timer, without_threads_it_takes_entries_and_waits_for_nobody) {
    no_timer_threads = true;
    {
        passive_timer timer("test");
        timer_handle timed{nullptr}, driven{nullptr};
        event signal;
        const auto never = [] { ADD_FAILURE(); };
        EXPECT_TRUE(timer.ready && !timer.is_running());
        timer.start(&timed, never, 0, timer_once, false);
        timer.start(&driven, never, address(signal), timer_on_event, false);
        timer.flush_sweep(0);
        EXPECT_TRUE(stop(&driven, true, false));
        EXPECT_EQ(timed.load(), &timer);
    }
    no_timer_threads = false;
}

using passive_timer_death_test = ::testing::Test;

TEST(passive_timer_death_test, a_process_ends_with_entries_armed) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            static timer_handle keys[3];
            static event signal;
            static passive_timer timer("test");
            const auto never = [] { std::abort(); };
            timer.start(&keys[0], never, 60000, timer_once, false);
            timer.start(&keys[1], never, address(signal), timer_on_event, false);
            timer.start(
                &keys[2], [] { std::fputs("fired", stderr); }, 0, timer_once, false);
            std::exit(7);
        },
        ::testing::ExitedWithCode(7), "fired");
}
