// When a process ends by a bare ExitProcess, the worker is dead before the exit code runs. What that code
// does returns all the same.
#include "cl/time/passive_timer.hpp"

#include <gtest/gtest.h>
#include <windows.h>

using namespace cl;

namespace {

// Where the worker is when it dies.
event reached, never;
DWORD worker;
bool stay() {
    worker = GetCurrentThreadId();
    reached.set();
    return never.wait(os::no_limit);
}

} // namespace

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
            timer.gate = [](bool) { return stay(); };
        const auto call = [&] {
            const mutex_auto scope(timer.lock, where == with_lock);
            stay();
        };
        timer.start(&driven, call, signal, 0, false);
        timer.start_once(&running, call, 0);
        reached.wait();
        const HANDLE thread = OpenThread(THREAD_TERMINATE | SYNCHRONIZE, FALSE, worker);
        TerminateThread(thread, 0);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);

        EXPECT_TRUE(timer.is_running() && !timer.is_alive() && timer.worker_lost());
        timer.flush_sweep(5000);
        EXPECT_EQ(stop_and_wait(&running), where != with_lock);
        EXPECT_EQ(stop_and_wait(&driven), where != with_lock);
        timer.start_once(&driven, call, 0);
        timer.shut_down();
        EXPECT_FALSE(timer.is_running() || timer.ready);
        EXPECT_FALSE(stop_and_wait(&driven));
        EXPECT_EQ(driven.load(), nullptr);
    }
}
