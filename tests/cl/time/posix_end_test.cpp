#include "cl/time/thread_obj.hpp"

#include <gtest/gtest.h>

namespace {

struct stubborn final : cl::thread_obj {
    cl::event running, never;
    void run() override {
        running.set();
        for (;;)
            never.wait();
    }
};

} // namespace

// Natively a thread can't be killed safely.
TEST(thread_obj_death_test, a_thread_that_ignores_the_stop_ends_the_process) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            stubborn s;
            s.start();
            s.running.wait();
            s.stop(10);
        },
        ::testing::ExitedWithCode(3), "did not stop in time");
}
