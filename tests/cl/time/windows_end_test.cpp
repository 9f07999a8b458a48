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

} // namespace

TEST(thread_obj, a_thread_that_ignores_the_stop_is_killed) {
    stubborn s;
    s.start();
    s.running.wait();
    EXPECT_TRUE(s.is_alive());
    s.stop(20);
    EXPECT_FALSE(s.is_running() || s.is_alive());
}

// When a process ends by ExitProcess alone, the worker is dead before the exit code runs: in a callback, or
// with the lock taken. What that code does returns all the same.
TEST(passive_timer, nobody_waits_for_a_worker_that_is_dead) {
    enum { idle, in_callback, with_lock };
    for (const auto where : {idle, in_callback, with_lock}) {
        SCOPED_TRACE(where);
        // The worker's memory goes with the process, and so do the entries that it may have been changing.
        auto& timer = *new passive_timer("test");
        timer_handle running{nullptr}, armed{nullptr}, driven{nullptr};
        event begun, never, signal;
        DWORD worker = 0;
        timer.start(
            &running,
            [&] {
                worker = GetCurrentThreadId();
                const mutex_auto scope(timer.lock, where == with_lock);
                begun.set();
                if (where != idle)
                    never.wait();
            },
            0, timer_once, false);
        begun.wait();
        if (where != with_lock) {
            timer.start(
                &armed, [] {}, 60000, timer_once, false);
            timer.start(
                &driven, [] {}, reinterpret_cast<std::uint64_t>(&signal), timer_on_event, false);
        }
        if (where == idle)
            timer.flush_sweep(0);
        const HANDLE thread = OpenThread(THREAD_TERMINATE | SYNCHRONIZE, FALSE, worker);
        TerminateThread(thread, 0);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);

        EXPECT_TRUE(timer.is_running());
        EXPECT_FALSE(timer.is_alive());
        timer.flush_sweep(5000);
        EXPECT_EQ(stop(&running, true, false), where == in_callback);
        EXPECT_EQ(stop(&driven, true, false), where != with_lock);
        timer.start(
            &armed, [] {}, 0, timer_once, true);
        timer.shut_down();
        EXPECT_FALSE(timer.is_running() || timer.ready);
        EXPECT_FALSE(stop(&armed, true, false));
        EXPECT_EQ(armed.load(), nullptr);
    }
}
