// Events and waiting for them. Any thread may set, reset and wait.
#pragma once

#include "cl/os/sync.hpp"

#include <cstdint>
#include <vector>

namespace cl {

// Something that can be signalled and waited for. Time-outs are milliseconds.
class event_base {
public:
    virtual void set() = 0;
    virtual void reset() = 0;
    // True if the object was signalled within the time, false on time-out and on any error.
    virtual bool wait(std::uint32_t timeout_ms) = 0;
    // Waits without limit; the system's raw result (os::wait_ok and its like).
    virtual std::uint32_t wait() = 0;
    virtual os::event_handle handle() const = 0;

    // Whether the object is signalled now; changes nothing.
    bool test() { return wait(std::uint32_t{0}); }

protected:
    ~event_base() = default;
};

// A manual-reset event, not signalled at first. If the system can't create it, is_valid is false, set and
// reset do nothing and a wait fails at once.
class event final : public event_base {
public:
    // `security` points to the system's security attributes.
    explicit event(const wchar_t* name = nullptr, void* security = nullptr)
        : handle_(os::create_event(name, security)) {}
    ~event() { os::close_event(handle_); }
    event(const event&) = delete;
    event& operator=(const event&) = delete;

    void set() override { os::set_event(handle_); }
    void reset() override { os::reset_event(handle_); }
    bool wait(std::uint32_t timeout_ms) override {
        return os::wait_event(handle_, timeout_ms) == os::wait_ok;
    }
    std::uint32_t wait() override { return os::wait_event(handle_, os::no_limit); }
    os::event_handle handle() const override { return handle_; }
    bool is_valid() const { return handle_ != 0; }

private:
    os::event_handle handle_;
};

// A list of waiting threads, guarded by a lock of its owner. Signalled elements stay until their waiters go.
using event_list = std::vector<event_base*>;

// Sets every element in order. The caller holds the list's lock.
void signal_all(const event_list& list);

// Waits, from the stack, for the next signal_all of a list. Construct and destroy it under the list's lock,
// and wait with that lock dropped.
class event_waiter {
public:
    explicit event_waiter(event_list& list);
    ~event_waiter();
    event_waiter(const event_waiter&) = delete;
    event_waiter& operator=(const event_waiter&) = delete;

    // Always waits without limit, whatever the time-out; this is deliberate. True unless the wait failed.
    bool wait(std::uint32_t timeout_ms);

private:
    event_list* owner;
    event own_event;
};

// Waits for any or, with wait_all, for all of the events; os::no_limit waits without limit. The index of the
// signalled one, or -1 on time-out, on failure and without events. More than os::max_wait_events can't be
// waited for: the call then sleeps for min(timeout_ms, 100) and answers -1, so that the caller polls. The
// first such call in the process writes a line to trace_err.
std::int32_t wait_for_objects(const std::vector<os::event_handle>& handles, std::uint32_t timeout_ms,
                              bool wait_all);

} // namespace cl
