#include "cl/time/thread_obj.hpp"

#include <gtest/gtest.h>

using namespace cl;

namespace {

std::atomic<int> begins, ends;

struct worker final : thread_obj {
    explicit worker(bool hears) : listens(hears) {
        begins = ends = 0;
        on_thread_begin = [] { ++begins; };
        on_thread_end = [] { ++ends; };
        start();
        start();
        running.wait();
    }
    event running, leave;
    int runs = 0, notices = 0;
    const bool listens;

private:
    void run() override {
        EXPECT_TRUE(++runs == 1 && begins == 1 && ends == 0);
        running.set();
        leave.wait();
    }
    void notify_stop() override {
        EXPECT_TRUE(stop_requested.test());
        if (listens)
            leave.set();
        ++notices;
    }
};

} // namespace

TEST(thread_obj, one_start_one_thread_one_stop) {
    worker w(true);
    EXPECT_TRUE(w.is_running() && w.is_alive());
    w.stop(60000);
    EXPECT_FALSE(w.is_running() || w.is_alive());
    w.stop(0); // without a thread it asks nobody
    EXPECT_TRUE(w.runs == 1 && w.notices == 1 && begins == 1 && ends == 1);
    w.start(); // not again: the new thread ends at once
    w.stop(60000);
    EXPECT_TRUE(w.runs == 1 && begins == 1 && ends == 1);
}

// Natively a thread can't be killed safely, and the process ends instead.
TEST(thread_obj_death_test, a_thread_that_ignores_the_stop_is_killed) {
#ifdef _WIN32
    worker w(false);
    w.stop(20);
    EXPECT_FALSE(w.is_running() || w.is_alive() || ends);
#else
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(worker(false).stop(20), ::testing::ExitedWithCode(3), "did not stop in time");
#endif
}
