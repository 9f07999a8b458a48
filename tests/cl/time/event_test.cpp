#include "cl/time/event.hpp"
#include "fakes/trace_capture.hpp"

#include <gtest/gtest.h>

using namespace cl;

// The last of as many as the system takes is found; a wait for more is a short sleep, which is reported once.
TEST(event, wait_for_objects) {
    fakes::trace_capture said;
    event set, unset;
    set.set();
    std::vector<os::event_handle> handles(os::max_wait_events - 1, unset.handle());
    handles.push_back(set.handle());
    EXPECT_EQ(wait_for_objects(handles, 60000, false), 63);
    EXPECT_EQ(wait_for_objects({unset.handle(), set.handle(), set.handle()}, 0, false), 1);
    EXPECT_EQ(wait_for_objects({set.handle(), unset.handle()}, 2, true), -1);
    EXPECT_EQ(wait_for_objects({}, 2, false), -1);
    EXPECT_EQ(wait_for_objects({unset.handle(), 0}, 0, false), -1);
    EXPECT_EQ(said.err.text, "");
    handles.push_back(set.handle());
    for (const std::uint32_t timeout : {0u, os::no_limit}) {
        EXPECT_EQ(wait_for_objects(handles, timeout, false), -1);
        EXPECT_EQ(said.err.text, "waiting for 65 objects; max allowed is 64!\n");
    }
}
