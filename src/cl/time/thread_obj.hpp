// A worker thread owned by an object.
#pragma once

#include "cl/os/sync.hpp"
#include "cl/time/event.hpp"

#include <atomic>
#include <cstdint>

namespace cl {

// Derive from it, provide `run`, and end it with `stop` before the derived object goes. It can't be started
// again after a stop.
//
// start and stop are for the owner, one at a time, and stop not for the worker itself: it would wait for its
// own end and then kill itself. Any thread may ask is_running and is_alive.
class thread_obj {
public:
    thread_obj() = default;
    thread_obj(const thread_obj&) = delete;
    thread_obj& operator=(const thread_obj&) = delete;

    // Starts the thread, with 256 KiB of stack, and returns when it runs. Nothing happens if there is one
    // already. If the system refuses the thread, is_running stays false.
    void start();

    // Asks the thread to end, waits for that, and kills it after timeout_ms; what it held then stays held.
    // Without a thread it does nothing.
    void stop(std::uint32_t timeout_ms);

    // Whether there is a thread that has not been stopped; it may have ended by itself.
    bool is_running() const { return handle.load(std::memory_order_relaxed) != 0; }

    // Whether the thread exists and has not ended. When a process ends by a bare ExitProcess, all threads but
    // one are dead before the exit code runs: ask this there before waiting for a worker.
    bool is_alive() const;

    // Called on the new thread before and after `run`, if not null. To be set before start.
    void (*on_thread_begin)() = nullptr;
    void (*on_thread_end)() = nullptr;

protected:
    ~thread_obj() = default;

    // The body of the thread. It ends soon after stop_requested is signalled.
    virtual void run() = 0;
    // Called by stop after stop_requested is signalled, to wake a sleeping thread.
    virtual void notify_stop() {}

    event stop_requested;

private:
    static std::uint32_t entry(void* self);

    event started; // set by the new thread as its first act
    // Has no lock: only the owner changes it.
    std::atomic<os::thread_handle> handle{0};
};

} // namespace cl
