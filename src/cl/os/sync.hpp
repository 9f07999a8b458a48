// Events, locks and threads of the operating system. Any thread may call any function here.
//
// Handles are opaque; 0 means none. Every function takes a 0 handle and fails quietly on it.
#pragma once

#include <atomic>
#include <cstdint>

namespace cl::os {

using event_handle = std::uintptr_t;
using thread_handle = std::uintptr_t;

// Time-outs are milliseconds; this one means without limit.
inline constexpr std::uint32_t no_limit = 0xFFFFFFFF;

// Results of a wait, apart from an index.
inline constexpr std::uint32_t wait_ok = 0;
inline constexpr std::uint32_t wait_timed_out = 0x102;
inline constexpr std::uint32_t wait_failed = 0xFFFFFFFF;

// The most events that one wait takes: MAXIMUM_WAIT_OBJECTS of Windows.
inline constexpr std::uint32_t max_wait_events = 64;

// Creates a manual-reset event, not signalled. `security` points to the system's security attributes. 0 on
// failure; natively also for an event with a name.
event_handle create_event(const wchar_t* name, void* security);
void close_event(event_handle event);

// Signals the event. Every thread that waits at that moment is released, even if a reset follows at once.
void set_event(event_handle event);
void reset_event(event_handle event);

// wait_ok, wait_timed_out or wait_failed.
std::uint32_t wait_event(event_handle event, std::uint32_t timeout_ms);

// Waits for any or for all of 1 to max_wait_events events. The index of a signalled one (with `all` an
// unspecified index below n), wait_timed_out or wait_failed.
std::uint32_t wait_events(const event_handle* events, std::uint32_t n, bool all, std::uint32_t timeout_ms);

// A recursive lock: constant-initialised and trivially destructible, so that it may stand in objects that are
// usable before the first initialiser runs and after the last destructor. It must not be copied.
class critical_section {
public:
    constexpr critical_section() = default;
    critical_section(const critical_section&) = delete;
    critical_section& operator=(const critical_section&) = delete;

    void enter();
    // False if another thread is inside.
    [[nodiscard]] bool try_enter();
    // Once for each successful enter or try_enter, by the same thread.
    void leave();

private:
    // Room for the system's own, non-recursive lock. On both systems all zeros are a free one.
    alignas(8) unsigned char lock_[40] = {};
    std::atomic<std::uint64_t> owner_{0}; // thread_id of the thread inside, or 0
    std::uint32_t depth_ = 0;             // how often the owner has entered; the owner's own
};

// Not 0, and different from that of every other live thread.
std::uint64_t thread_id();

// Creates a suspended thread. 0 on failure.
thread_handle create_thread(std::uint32_t (*entry)(void*), void* argument, std::uint32_t stack_bytes);
// Lets the thread run. False on failure.
[[nodiscard]] bool resume_thread(thread_handle thread);
// Waits for the thread's end, as wait_event does.
std::uint32_t wait_thread(thread_handle thread, std::uint32_t timeout_ms);
// Ends the thread by force, with exit code 0; what it holds stays held. Natively no such call is safe, and
// the process ends with a message instead.
void kill_thread(thread_handle thread);
void close_thread(thread_handle thread);

} // namespace cl::os
