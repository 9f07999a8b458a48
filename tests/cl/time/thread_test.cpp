#include "cl/time/thread_obj.hpp"

#include <gtest/gtest.h>

using namespace cl;

namespace {

std::atomic<int> begins, ends;

struct worker final : thread_obj {
    worker() {
        begins = ends = 0;
        on_thread_begin = [] { ++begins; };
        on_thread_end = [] { ++ends; };
    }
    ~worker() { stop(60000); }

    std::atomic<int> runs{0}, notices{0};
    event running, leave; // leave: ends `run` without a stop

    void ask() { stop_requested.set(); }
    bool asked() { return stop_requested.test(); }

private:
    void run() override {
        ++runs;
        EXPECT_EQ(begins, 1);
        EXPECT_EQ(ends, 0);
        running.set();
        leave.wait();
    }
    void notify_stop() override {
        ++notices;
        EXPECT_TRUE(asked());
        leave.set();
    }
};

} // namespace

TEST(thread_obj, one_start_one_thread_one_stop) {
    worker w;
    EXPECT_FALSE(w.is_running() || w.is_alive());
    w.stop(0); // without a thread it asks nobody
    EXPECT_FALSE(w.asked());
    EXPECT_EQ(w.notices, 0);

    w.start();
    EXPECT_TRUE(w.is_running());
    w.start();
    w.running.wait();
    EXPECT_TRUE(w.is_alive());
    w.stop(60000);
    EXPECT_FALSE(w.is_running() || w.is_alive());
    EXPECT_EQ(w.runs, 1);
    EXPECT_EQ(w.notices, 1);
    EXPECT_EQ(begins, 1);
    EXPECT_EQ(ends, 1);

    // Not to be started again: the new thread ends at once.
    w.start();
    w.stop(60000);
    EXPECT_EQ(w.runs, 1);
}

TEST(thread_obj, a_stop_ahead_of_the_run_skips_it) {
    worker w;
    w.ask();
    w.start();
    w.stop(60000);
    EXPECT_EQ(w.runs + begins + ends, 0);
}

TEST(thread_obj, a_thread_that_ended_is_running_but_not_alive) {
    worker w;
    w.start();
    w.leave.set();
    while (w.is_alive())
        os::wait_event(w.running.handle(), 1);
    EXPECT_TRUE(w.is_running());
    w.stop(0);
    EXPECT_FALSE(w.is_running());
    EXPECT_EQ(ends, 1);
}
