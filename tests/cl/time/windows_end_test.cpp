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

// Where the worker is when it dies.
event reached, never;
DWORD worker;
void stay() {
    worker = GetCurrentThreadId();
    reached.set();
    never.wait();
}

} // namespace

TEST(thread_obj, a_thread_that_ignores_the_stop_is_killed) {
    stubborn s;
    s.start();
    s.running.wait();
    s.stop(20);
    EXPECT_FALSE(s.is_running() || s.is_alive());
}

// When a process ends by ExitProcess alone, the worker is dead before the exit code runs. What that code does
// returns all the same.
TEST(passive_timer, nobody_waits_for_a_worker_that_is_dead) {
    enum { between_passes, in_callback, with_lock };
    for (const auto where : {between_passes, in_callback, with_lock}) {
        SCOPED_TRACE(where);
        reached.reset();
        // The worker's memory goes with the process, and so do the entries that it may have been changing.
        auto& timer = *new passive_timer("test");
        timer_handle running{nullptr}, driven{nullptr};
        event signal;
        if (where == between_passes)
            timer.gate = [](bool) { return stay(), true; };
        const auto call = [&] {
            const mutex_auto scope(timer.lock, where == with_lock);
            stay();
        };
        timer.start(
            &driven, [] {}, reinterpret_cast<std::uint64_t>(&signal), timer_on_event, false);
        timer.start(&running, call, 0, timer_once, false);
        reached.wait();
        const HANDLE thread = OpenThread(THREAD_TERMINATE | SYNCHRONIZE, FALSE, worker);
        TerminateThread(thread, 0);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);

        EXPECT_TRUE(timer.is_running() && !timer.is_alive());
        timer.flush_sweep(5000);
        EXPECT_EQ(stop(&running, true, false), where != with_lock);
        EXPECT_EQ(stop(&driven, true, false), where != with_lock);
        timer.start(
            &driven, [] {}, 0, timer_once, true);
        timer.shut_down();
        EXPECT_FALSE(timer.is_running() || timer.ready);
        EXPECT_FALSE(stop(&driven, true, false));
        EXPECT_EQ(driven.load(), nullptr);
    }
}
