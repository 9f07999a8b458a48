#include "cl/time/event.hpp"

#include "cl/time/mutex.hpp"
#include "cl/trace/list/trace_list.hpp"

#include <gtest/gtest.h>
#include <memory>
#include <thread>

using namespace cl;

namespace {

constexpr std::uint32_t long_ms = 60000; // a wait that ends by a signal

struct kept_text final : trace_base {
    using trace_base::write;
    void write(const char* t, bool) override { text += t; }
    void flush(bool) override {}
    std::string text;
};

} // namespace

TEST(event, wait_for_objects) {
    constexpr std::size_t limit = os::max_wait_events;
    struct {
        const char* name;
        std::size_t n;
        std::vector<std::size_t> set;
        bool all;
        std::int32_t result; // -2: any index
    } const rows[] = {
        {"none", 0, {}, false, -1},
        {"none, all of them", 0, {}, true, -1},
        {"time-out", 3, {}, false, -1},
        {"the first of those that are set", 5, {3, 1}, false, 1},
        {"the last of as many as the system takes", limit, {limit - 1}, false, limit - 1},
        {"all but one", 3, {0, 2}, true, -1},
        {"all", 3, {0, 1, 2}, true, -2},
    };
    for (const auto& row : rows)
        for (const bool later : {false, true}) {
            SCOPED_TRACE(row.name);
            std::vector<std::unique_ptr<event>> events;
            std::vector<os::event_handle> handles;
            for (std::size_t i = 0; i < row.n; ++i)
                handles.push_back(events.emplace_back(std::make_unique<event>())->handle());
            const auto set = [&] {
                for (const std::size_t i : row.set)
                    events[i]->set();
            };
            std::thread setter;
            if (later)
                setter = std::thread(set);
            else
                set();
            const std::int32_t result = wait_for_objects(handles, row.result == -1 ? 2 : long_ms, row.all);
            if (later)
                setter.join();
            if (row.result == -2)
                EXPECT_TRUE(result >= 0 && result < static_cast<std::int32_t>(row.n)) << result;
            else if (later && row.set.size() > 1)
                EXPECT_TRUE(result == -1 || result == 1 || result == 3) << result;
            else
                EXPECT_EQ(result, row.result);
        }
    const event e;
    EXPECT_EQ(wait_for_objects({e.handle(), 0}, 0, false), -1);
}

TEST(event, a_wait_for_too_many_is_a_short_sleep_and_says_so_once) {
    kept_text sink;
    trace_add(&trace_err, &sink);
    event e;
    e.set();
    const std::vector<os::event_handle> handles(os::max_wait_events + 1, e.handle());
    EXPECT_EQ(wait_for_objects(handles, 0, false), -1);
    EXPECT_EQ(sink.text, "waiting for 65 objects; max allowed is 64!\n");
    EXPECT_EQ(wait_for_objects(handles, os::no_limit, false), -1); // returns, after 100 ms
    EXPECT_EQ(sink.text, "waiting for 65 objects; max allowed is 64!\n");
    trace_remove(&trace_err, &sink);
}

TEST(event_waiter, waits_for_the_signal_whatever_the_time_out) {
    mutex lock;
    event_list list;
    event other, waiting, done;
    list.push_back(&other);
    std::thread waiter([&] {
        mutex_auto scope(lock, true);
        {
            event_waiter w(list);
            scope.unlock();
            waiting.set();
            EXPECT_TRUE(w.wait(1));
            done.set();
            scope.lock();
        }
        EXPECT_EQ(list, event_list{&other});
    });
    waiting.wait();
    EXPECT_FALSE(done.wait(40));
    {
        const mutex_auto scope(lock, true);
        EXPECT_EQ(list.size(), 2u);
        signal_all(list);
    }
    waiter.join();
    EXPECT_TRUE(other.test());
}
