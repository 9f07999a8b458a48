#include "cl/time/thread_obj.hpp"

namespace cl {

namespace {

constexpr std::uint32_t stack_bytes = 0x40000;
// The system kills a thread some time after the call; only one that is stuck in a driver takes longer.
constexpr std::uint32_t kill_ms = 1000;

} // namespace

void thread_obj::start() {
    if (is_running())
        return;
    const os::thread_handle thread = os::create_thread(entry, this, stack_bytes);
    handle = thread;
    if (!thread)
        return;
    if (!os::resume_thread(thread)) {
        // Deliberately not closed: the thread exists, suspended, until the process ends.
        handle = 0;
        return;
    }
    started.wait();
}

std::uint32_t thread_obj::entry(void* self) {
    auto& t = *static_cast<thread_obj*>(self);
    t.started.set();
    if (t.stop_requested.test())
        return 0;
    if (t.on_thread_begin)
        t.on_thread_begin();
    t.run();
    if (t.on_thread_end)
        t.on_thread_end();
    return 0;
}

void thread_obj::stop(std::uint32_t timeout_ms) {
    if (!is_running())
        return;
    stop_requested.set();
    notify_stop();
    // notify_stop may have stopped the thread itself.
    const os::thread_handle thread = handle;
    if (!thread)
        return;
    if (os::wait_thread(thread, timeout_ms) != os::wait_ok) {
        os::kill_thread(thread);
        // What the thread uses may be destroyed when this returns.
        os::wait_thread(thread, kill_ms);
    }
    // First this: the system may give a closed handle's number to something else, and is_alive would ask
    // that.
    handle = 0;
    os::close_thread(thread);
}

bool thread_obj::is_alive() const {
    const os::thread_handle thread = handle.load(std::memory_order_relaxed);
    return thread && os::wait_thread(thread, 0) == os::wait_timed_out;
}

} // namespace cl
