#include "cl/os/sync.hpp"

#include <windows.h>

namespace cl::os {

namespace {

static_assert(max_wait_events == MAXIMUM_WAIT_OBJECTS && wait_timed_out == WAIT_TIMEOUT &&
              wait_failed == WAIT_FAILED && no_limit == INFINITE);
static_assert(sizeof(SRWLOCK) <= 40);

HANDLE native(std::uintptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

SRWLOCK* native(unsigned char* lock) {
    return reinterpret_cast<SRWLOCK*>(lock);
}

} // namespace

event_handle create_event(const wchar_t* name, void* security) {
    return reinterpret_cast<event_handle>(
        CreateEventW(static_cast<SECURITY_ATTRIBUTES*>(security), TRUE, FALSE, name));
}

void close_event(event_handle event) {
    if (event)
        CloseHandle(native(event));
}

void set_event(event_handle event) {
    SetEvent(native(event));
}

void reset_event(event_handle event) {
    ResetEvent(native(event));
}

std::uint32_t wait_event(event_handle event, std::uint32_t timeout_ms) {
    return WaitForSingleObject(native(event), timeout_ms);
}

std::uint32_t wait_events(const event_handle* events, std::uint32_t n, bool all, std::uint32_t timeout_ms) {
    HANDLE handles[max_wait_events];
    if (n > max_wait_events)
        return wait_failed;
    for (std::uint32_t i = 0; i < n; ++i)
        handles[i] = native(events[i]);
    return WaitForMultipleObjects(n, handles, all, timeout_ms);
}

// A slim lock needs no initialiser and no destructor, which a critical section does; the recursion is ours.
void critical_section::enter() {
    const std::uint64_t me = thread_id();
    if (owner_.load(std::memory_order_relaxed) != me) {
        AcquireSRWLockExclusive(native(lock_));
        owner_.store(me, std::memory_order_relaxed);
    }
    ++depth_;
}

bool critical_section::try_enter() {
    const std::uint64_t me = thread_id();
    if (owner_.load(std::memory_order_relaxed) != me) {
        if (!TryAcquireSRWLockExclusive(native(lock_)))
            return false;
        owner_.store(me, std::memory_order_relaxed);
    }
    ++depth_;
    return true;
}

void critical_section::leave() {
    if (--depth_ != 0)
        return;
    owner_.store(0, std::memory_order_relaxed);
    ReleaseSRWLockExclusive(native(lock_));
}

std::uint64_t thread_id() {
    return GetCurrentThreadId();
}

thread_handle create_thread(std::uint32_t (*entry)(void*), void* argument, std::uint32_t stack_bytes) {
    // The system's type differs in the name of the result alone; x64 has one calling convention.
    const auto start = reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void*>(entry));
    return reinterpret_cast<thread_handle>(CreateThread(nullptr, stack_bytes, start, argument,
                                                        CREATE_SUSPENDED | STACK_SIZE_PARAM_IS_A_RESERVATION,
                                                        nullptr));
}

bool resume_thread(thread_handle thread) {
    return ResumeThread(native(thread)) != 0xFFFFFFFF;
}

std::uint32_t wait_thread(thread_handle thread, std::uint32_t timeout_ms) {
    return WaitForSingleObject(native(thread), timeout_ms);
}

void kill_thread(thread_handle thread) {
    TerminateThread(native(thread), 0);
}

void close_thread(thread_handle thread) {
    if (thread)
        CloseHandle(native(thread));
}

} // namespace cl::os
