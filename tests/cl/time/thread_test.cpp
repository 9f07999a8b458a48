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
    event leave; // ends `run` without a stop

    void ask() { stop_requested.set(); }
    bool asked() { return stop_requested.test(); }

private:
    void run() override {
        ++runs;
        EXPECT_TRUE(begins == 1 && ends == 0);
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
    EXPECT_FALSE(w.asked() || w.notices);

    w.start();
    w.start();
    EXPECT_TRUE(w.is_running());
    while (w.runs == 0)
        w.leave.wait(1);
    EXPECT_TRUE(w.is_alive());
    w.stop(60000);
    EXPECT_FALSE(w.is_running() || w.is_alive());
    // Not to be started again: the new thread ends at once.
    w.start();
    w.stop(60000);
    EXPECT_TRUE(w.runs == 1 && w.notices == 2 && begins == 1 && ends == 1);
}

TEST(thread_obj, a_thread_that_ended_is_running_but_not_alive) {
    worker w;
    w.start();
    w.leave.set();
    event never;
    while (w.is_alive())
        never.wait(1);
    EXPECT_TRUE(w.is_running());
    w.stop(0);
    EXPECT_FALSE(w.is_running());
    EXPECT_EQ(ends, 1);
}
