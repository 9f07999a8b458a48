#include "cl/os/sync.hpp"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <pthread.h>
#include <unistd.h>
#include <vector>

namespace cl::os {

namespace {

using steady = std::chrono::steady_clock;

// Waits on a condition variable for a time-out in the system's form. True if `done` holds.
template <class F>
bool wait_for(std::condition_variable& c, std::unique_lock<std::mutex>& lock, std::uint32_t timeout_ms,
              F done) {
    if (timeout_ms != no_limit)
        return c.wait_until(lock, steady::now() + std::chrono::milliseconds(timeout_ms), done);
    c.wait(lock, done);
    return true;
}

// One thread in wait_events.
struct waiter {
    std::mutex m;
    std::condition_variable c;
    bool changed = false;           // some event was set since this was last cleared
    std::uint32_t fired = no_limit; // lowest index of an event that was set during the wait
};

// An event. `set` marks the waiters itself, so a reset that follows takes nothing back from them. Lock order:
// event, then waiter; both are private to each object, so that no two users are synchronised by accident.
struct event_object {
    struct entry {
        waiter* who;
        std::uint32_t index;
    };
    std::mutex m;
    bool signalled = false;
    std::vector<entry> waiters;

    bool test() {
        const std::lock_guard guard(m);
        return signalled;
    }

    void set() {
        const std::lock_guard guard(m);
        signalled = true;
        for (const entry& e : waiters) {
            const std::lock_guard inner(e.who->m);
            e.who->changed = true;
            e.who->fired = std::min(e.who->fired, e.index);
            e.who->c.notify_one();
        }
    }

    // False, and nothing added, if the event is signalled and only that is waited for.
    bool add(waiter* who, std::uint32_t index, bool all) {
        const std::lock_guard guard(m);
        if (signalled && !all)
            return false;
        waiters.push_back({who, index});
        return true;
    }

    void remove(const waiter* who) {
        const std::lock_guard guard(m);
        std::erase_if(waiters, [who](const entry& e) { return e.who == who; });
    }
};

event_object* native(event_handle event) {
    return reinterpret_cast<event_object*>(event);
}

std::uint32_t wait_any(const event_handle* events, std::uint32_t n, std::uint32_t timeout_ms) {
    if (timeout_ms == 0) {
        const auto hit = std::find_if(events, events + n, [](event_handle e) { return native(e)->test(); });
        return hit == events + n ? wait_timed_out : static_cast<std::uint32_t>(hit - events);
    }
    waiter me;
    std::uint32_t added = 0;
    while (added < n && native(events[added])->add(&me, added, false))
        ++added;
    if (added == n) {
        std::unique_lock lock(me.m);
        wait_for(me.c, lock, timeout_ms, [&me] { return me.fired != no_limit; });
    }
    for (std::uint32_t i = 0; i < added; ++i)
        native(events[i])->remove(&me);
    const std::uint32_t signalled = std::min(added, me.fired);
    return signalled < n ? signalled : wait_timed_out;
}

// An event that is set and reset before all others are set doesn't count; Windows has it so, too.
std::uint32_t wait_all(const event_handle* events, std::uint32_t n, std::uint32_t timeout_ms) {
    const auto all_set = [=] {
        return std::all_of(events, events + n, [](event_handle e) { return native(e)->test(); });
    };
    waiter me;
    for (std::uint32_t i = 0; i < n; ++i)
        native(events[i])->add(&me, i, true);
    const auto start = steady::now();
    bool done = all_set();
    for (std::uint32_t left = timeout_ms; !done && left != 0; done = all_set()) {
        std::unique_lock lock(me.m);
        if (!wait_for(me.c, lock, left, [&me] { return me.changed; }))
            break;
        me.changed = false;
        if (timeout_ms != no_limit) {
            const auto spent = std::chrono::duration_cast<std::chrono::milliseconds>(steady::now() - start);
            left = spent.count() < timeout_ms ? timeout_ms - static_cast<std::uint32_t>(spent.count()) : 0;
        }
    }
    for (std::uint32_t i = 0; i < n; ++i)
        native(events[i])->remove(&me);
    return done ? wait_ok : wait_timed_out;
}

} // namespace

event_handle create_event(const wchar_t* name, void*) {
    return name ? 0 : reinterpret_cast<event_handle>(new (std::nothrow) event_object);
}

void close_event(event_handle event) {
    delete native(event);
}

void set_event(event_handle event) {
    if (event)
        native(event)->set();
}

void reset_event(event_handle event) {
    if (!event)
        return;
    const std::lock_guard guard(native(event)->m);
    native(event)->signalled = false;
}

std::uint32_t wait_event(event_handle event, std::uint32_t timeout_ms) {
    return wait_events(&event, 1, false, timeout_ms);
}

std::uint32_t wait_events(const event_handle* events, std::uint32_t n, bool all, std::uint32_t timeout_ms) {
    if (n == 0 || n > max_wait_events || std::find(events, events + n, event_handle{0}) != events + n)
        return wait_failed;
    return all ? wait_all(events, n, timeout_ms) : wait_any(events, n, timeout_ms);
}

namespace {

pthread_mutex_t* native(unsigned char* lock) {
    static_assert(sizeof(pthread_mutex_t) <= 40);
    return reinterpret_cast<pthread_mutex_t*>(lock);
}

} // namespace

// The system's recursive mutex isn't all zeros when it is free, so the recursion is ours.
void critical_section::enter() {
    const std::uint64_t me = thread_id();
    if (owner_.load(std::memory_order_relaxed) != me) {
        pthread_mutex_lock(native(lock_));
        owner_.store(me, std::memory_order_relaxed);
    }
    ++depth_;
}

bool critical_section::try_enter() {
    const std::uint64_t me = thread_id();
    if (owner_.load(std::memory_order_relaxed) != me) {
        if (pthread_mutex_trylock(native(lock_)) != 0)
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
    pthread_mutex_unlock(native(lock_));
}

std::uint64_t thread_id() {
    static_assert(sizeof(pthread_t) == sizeof(std::uint64_t));
    return pthread_self();
}

namespace {

// A suspended thread is one that doesn't exist yet.
struct thread_object {
    std::uint32_t (*entry)(void*) = nullptr;
    void* argument = nullptr;
    std::size_t stack_bytes = 0;
    pthread_t id{};
    bool resumed = false;
    std::mutex m;
    std::condition_variable c;
    bool ended = false;
};

// Handles are numbers that are never used again, as a handle may be asked about while its owner closes it.
// The table is never destroyed, because threads may outlive the destructors of the process.
struct thread_table {
    std::mutex m;
    thread_handle next = 1;
    std::map<thread_handle, std::shared_ptr<thread_object>> threads;
};

thread_table& table() {
    static thread_table& t = *new thread_table;
    return t;
}

std::shared_ptr<thread_object> find(thread_handle thread) {
    const std::lock_guard guard(table().m);
    const auto it = table().threads.find(thread);
    return it == table().threads.end() ? nullptr : it->second;
}

void* run_thread(void* argument) {
    const std::unique_ptr<std::shared_ptr<thread_object>> self(
        static_cast<std::shared_ptr<thread_object>*>(argument));
    thread_object& t = **self;
    t.entry(t.argument);
    const std::lock_guard guard(t.m);
    t.ended = true;
    t.c.notify_all();
    return nullptr;
}

} // namespace

thread_handle create_thread(std::uint32_t (*entry)(void*), void* argument, std::uint32_t stack_bytes) {
    // 256 KiB more than asked for: the sanitizers' frames and thread-local data lie there, too.
    auto t = std::make_shared<thread_object>();
    t->entry = entry;
    t->argument = argument;
    t->stack_bytes = stack_bytes + std::size_t{0x40000};
    const std::lock_guard guard(table().m);
    table().threads.emplace(table().next, std::move(t));
    return table().next++;
}

bool resume_thread(thread_handle thread) {
    const auto t = find(thread);
    if (!t)
        return false;
    auto own = std::make_unique<std::shared_ptr<thread_object>>(t);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, t->stack_bytes);
    t->resumed = pthread_create(&t->id, &attributes, run_thread, own.get()) == 0;
    pthread_attr_destroy(&attributes);
    if (t->resumed)
        static_cast<void>(own.release()); // the thread owns it now
    return t->resumed;
}

std::uint32_t wait_thread(thread_handle thread, std::uint32_t timeout_ms) {
    const auto t = find(thread);
    if (!t)
        return wait_failed;
    std::unique_lock lock(t->m);
    return wait_for(t->c, lock, timeout_ms, [&t] { return t->ended; }) ? wait_ok : wait_timed_out;
}

void kill_thread(thread_handle) {
    static_cast<void>(std::fputs("a thread did not stop in time; the process ends\n", stderr));
    _exit(3);
}

void close_thread(thread_handle thread) {
    const auto t = find(thread);
    if (!t)
        return;
    const bool ended = wait_thread(thread, 0) == wait_ok;
    {
        const std::lock_guard guard(table().m);
        table().threads.erase(thread);
    }
    if (ended)
        pthread_join(t->id, nullptr);
    else if (t->resumed)
        pthread_detach(t->id);
}

} // namespace cl::os
