#include "cl/time/event.hpp"

#include "cl/os/clock.hpp"
#include "cl/trace/say.hpp"

#include <algorithm>
#include <atomic>

namespace cl {

void signal_all(const event_list& list) {
    for (event_base* e : list)
        e->set();
}

event_waiter::event_waiter(event_list& list) : owner(&list) {
    owner->push_back(&own_event);
}

event_waiter::~event_waiter() {
    std::erase(*owner, &own_event);
}

bool event_waiter::wait(std::uint32_t) {
    return own_event.wait() == os::wait_ok;
}

namespace {

// How long a wait for too many objects sleeps at most, in milliseconds.
constexpr std::uint32_t poll_ms = 100;

// Two threads at once may both find it set, and both write the line.
constinit std::atomic<bool> long_wait_is_news{true};

} // namespace

std::int32_t wait_for_objects(const std::vector<os::event_handle>& handles, std::uint32_t timeout_ms,
                              bool wait_all) {
    const auto n = static_cast<std::uint32_t>(handles.size());
    if (n <= os::max_wait_events) {
        const std::uint32_t result = os::wait_events(handles.data(), n, wait_all, timeout_ms);
        return result < n ? static_cast<std::int32_t>(result) : -1;
    }
    if (long_wait_is_news.load(std::memory_order_relaxed)) {
        long_wait_is_news.store(false, std::memory_order_relaxed);
        say(trace_err, "waiting for %? objects; max allowed is %?!\n", n, os::max_wait_events);
    }
    os::sleep_ms(std::min(timeout_ms, poll_ms));
    return -1;
}

} // namespace cl
