#include "cl/time/event.hpp"

#include "fakes/trace_capture.hpp"

#include <gtest/gtest.h>
#include <thread>

using namespace cl;

// The last of as many as the system takes is found; a wait for more is a short sleep, which says so once.
TEST(event, wait_for_objects) {
    constexpr std::uint32_t limit = os::max_wait_events;
    fakes::trace_capture said;
    event set, unset;
    std::thread setter([&] { set.set(); });
    std::vector<os::event_handle> handles(limit - 1, unset.handle());
    handles.push_back(set.handle());
    EXPECT_EQ(wait_for_objects(handles, 60000, false), static_cast<std::int32_t>(limit - 1));
    setter.join();
    EXPECT_EQ(wait_for_objects({unset.handle(), set.handle(), set.handle()}, 0, false), 1);
    EXPECT_EQ(wait_for_objects({set.handle(), unset.handle()}, 2, true), -1);
    EXPECT_GE(wait_for_objects({set.handle()}, 0, true), 0);
    EXPECT_EQ(wait_for_objects({}, 2, false), -1);
    EXPECT_EQ(wait_for_objects({unset.handle(), 0}, 0, false), -1);
    EXPECT_EQ(said.err.text, "");
    handles.push_back(set.handle());
    for (const std::uint32_t timeout : {0u, os::no_limit}) {
        EXPECT_EQ(wait_for_objects(handles, timeout, false), -1);
        EXPECT_EQ(said.err.text, "waiting for 65 objects; max allowed is 64!\n");
    }
}

TEST(event_waiter, waits_for_the_signal_whatever_the_time_out) {
    event_list list;
    event other, waiting, done;
    list.push_back(&other);
    {
        event_waiter w(list);
        std::jthread waiter([&] {
            waiting.set();
            EXPECT_TRUE(w.wait(1));
            done.set();
        });
        waiting.wait();
        EXPECT_FALSE(done.wait(40));
        signal_all(list);
    }
    EXPECT_EQ(list, event_list{&other});
    EXPECT_TRUE(other.test());
}
