#include "cl/time/passive_timer.hpp"

#include "cl/time/simulated_timer.hpp"

#include <gtest/gtest.h>
#include <thread>

using namespace cl;

namespace {

std::uint32_t stops_of(base_timer& timer) {
    const mutex_auto scope(timer.lock, true);
    return timer.stops;
}

} // namespace

// Both ways to wait: on an event, and spinning on a timer whose passes run on a thread of the test.
TEST(passive_timer, a_waiting_stop_returns_after_the_callback) {
    passive_timer blocking("test");
    fakes::simulated_timer spinning;
    const std::jthread passes([&](const std::stop_token& end) {
        for (; !end.stop_requested(); std::this_thread::yield())
            spinning.run_pass();
    });
    for (base_timer* timer : {static_cast<base_timer*>(&blocking), static_cast<base_timer*>(&spinning)}) {
        timer_handle key{nullptr};
        event begun, go_on;
        int calls = 0; // plain: the stop orders it after the callback
        const auto call = [&] {
            begun.set();
            go_on.wait();
            ++calls;
        };
        timer->start_once(&key, call, 0);
        begun.wait();
        EXPECT_TRUE(timer->stop(&key, false, false)); // returns while the callback runs
        const std::jthread releases([&] {
            while (stops_of(*timer) < 2)
                std::this_thread::yield();
            go_on.set();
        });
        EXPECT_TRUE(timer->stop_and_wait(&key));
        EXPECT_TRUE(calls == 1 && !key);
    }
}

TEST(passive_timer, a_sweep_is_flushed_through_a_closed_gate) {
    static std::atomic<int> refused;
    refused = 0;
    passive_timer timer("test");
    timer_handle key{nullptr};
    timer.gate = [](bool enter) { return !enter || ++refused > 5; };
    int calls = 0;
    const auto call = [&] { ++calls; };
    for (int round = 1; round <= 200; ++round) {
        timer.start_once(&key, call, 0);
        timer.flush_sweep(0);
        ASSERT_EQ(calls, round);
    }
    EXPECT_GT(refused, 5);
}

TEST(passive_timer, what_has_not_fired_at_the_end_is_dropped_and_nobody_waits_any_more) {
    passive_timer timer("test");
    timer_handle keys[4]{};
    event signal;
    const auto never = [] { ADD_FAILURE(); };
    timer.start_once(&keys[0], never, 60000);
    timer.start(&keys[1], never, signal, 0, false);
    timer.start(&keys[2], never, signal, 0, false);
    // The worker has no pass any more, and ends while others wait for one.
    timer.gate = [](bool) { return false; };
    {
        const std::jthread flush([&] { timer.flush_sweep(0); });
        const std::jthread stopper([&] { EXPECT_TRUE(timer.stop_and_wait(&keys[2])); });
        while (stops_of(timer) == 0)
            std::this_thread::yield();
        timer.thread_obj::stop(60000);
    }
    timer.shut_down();
    EXPECT_FALSE(timer.ready || timer.is_running() || timer.worker_lost());
    timer.shut_down(); // from now on it does nothing, for any thread
    timer.start_once(&keys[3], never, 0);
    EXPECT_FALSE(stop_and_wait(&keys[0]) || keys[3] || keys[0]);
    timer.flush_sweep(0);
}

TEST(passive_timer, without_a_worker_it_takes_entries_and_waits_for_nobody) {
    no_timer_threads = true;
    {
        passive_timer timer("test");
        timer_handle timed{nullptr}, driven{nullptr};
        event signal;
        const auto never = [] { ADD_FAILURE(); };
        EXPECT_TRUE(timer.ready && !timer.is_running() && !timer.worker_lost());
        timer.start_once(&timed, never, 0);
        timer.start(&driven, never, signal, 0, false);
        timer.flush_sweep(0);
        EXPECT_TRUE(stop_and_wait(&driven));
        EXPECT_EQ(timed.load(), &timer);
    }
    no_timer_threads = false;
}
