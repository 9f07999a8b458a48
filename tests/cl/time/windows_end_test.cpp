// Threads that end by force: one by one, and all with the process.
#include "cl/time/passive_timer.hpp"

#include <gtest/gtest.h>
#include <windows.h>

using namespace cl;

namespace {

struct stubborn final : thread_obj {
    event running, never;
    void run() override {
        running.set();
        for (;;)
            never.wait();
    }
};

// A timer as the executable has it: in its place to the last, shut down by an exit function. By then the
// worker is dead, in a callback or with the lock taken, and a waiting stop, a start and a sweep return.
struct last_acts {
    enum where { in_callback, with_lock };

    passive_timer& timer = *new passive_timer("test");
    timer_handle running{nullptr}, armed{nullptr}, driven{nullptr};
    event begun, never, signal;

    void leave(where w) {
        static last_acts* self;
        self = this;
        timer.start(
            &armed, [] {}, 60000, timer_once, false);
        timer.start(
            &driven, [] {}, reinterpret_cast<std::uint64_t>(&signal), timer_on_event, false);
        timer.start(
            &running,
            [this, w] {
                const mutex_auto scope(timer.lock, w == with_lock);
                begun.set();
                never.wait();
            },
            0, timer_once, false);
        begun.wait();
        std::atexit([] { self->end(); });
        ExitProcess(7);
    }

    void end() {
        if (timer.is_alive() || !timer.is_running())
            std::fputs("the worker should be dead", stderr);
        timer.flush_sweep(5000);
        stop(&running, true, false);
        stop(&driven, true, false);
        timer.start(
            &armed, [] {}, 0, timer_once, true);
        timer.shut_down();
        std::fputs("ended in order", stderr);
        std::fflush(stderr);
    }
};

} // namespace

TEST(thread_obj, a_thread_that_ignores_the_stop_is_killed) {
    stubborn s;
    s.start();
    s.running.wait();
    EXPECT_TRUE(s.is_alive());
    s.stop(20);
    EXPECT_FALSE(s.is_running() || s.is_alive());
}

TEST(passive_timer_death_test, a_process_that_kills_the_worker_first_still_ends) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const auto where : {last_acts::in_callback, last_acts::with_lock})
        EXPECT_EXIT((new last_acts)->leave(where), ::testing::ExitedWithCode(7), "^ended in order");
}
