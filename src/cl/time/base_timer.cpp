#include "cl/time/base_timer.hpp"

#include <utility>

namespace cl {

base_timer::base_timer(std::string timer_name, bool blocking, tick_source source)
    : gate([](bool) { return true; }), name(std::move(timer_name)), tick(source), last_tick(source()),
      entries(std::make_unique<timer_entries>()), blocking_stop(blocking) {
    if (!blocking_stop)
        ready = true;
}

base_timer::~base_timer() {
    drop_entries();
}

void base_timer::drop_entries() {
    if (!entries)
        return;
    std::unique_ptr<timer_entries> all; // goes last: what callbacks own is destroyed without the lock
    mutex_auto scope(lock, false);
    const bool in_order = acquire(scope);
    ready.store(false, std::memory_order_relaxed);
    all = std::move(entries);
    // A lost worker may have been in the middle of a change. Nobody but its memory misses the entries.
    if (!in_order)
        static_cast<void>(all.release());
}

bool base_timer::acquire(mutex_auto& scope) const {
    if (scope.try_lock())
        return true;
    if (worker_lost())
        return false;
    scope.lock();
    return true;
}

void base_timer::start(timer_handle* key, const std::function<void()>& callback, std::uint64_t interval,
                       std::uint32_t flags, bool replace) {
    if (!callback || !ready.load(std::memory_order_relaxed))
        return;
    std::function<void()> mine; // later the replaced callback, which goes without the lock
    mutex_auto scope(lock, false);
    if (!acquire(scope) || !ready.load(std::memory_order_relaxed))
        return;
    timer_entry* e = entries->find(key);
    if (e && e->state != entry_state::finishing && !replace)
        return;
    mine = callback;
    if (!e)
        e = &entries->add(key);
    e->interval = interval;
    e->state = (flags & timer_once) != 0    ? entry_state::once
               : (flags & timer_fixed) != 0 ? entry_state::periodic_fixed
                                            : entry_state::periodic;
    e->event_driven = (flags & timer_on_event) != 0;
    // The next pass subtracts the time since last_tick, but the delay counts from now.
    e->remaining = static_cast<std::int32_t>(static_cast<std::uint32_t>(interval) + (tick() - last_tick));
    e->total_ms = 0;
    e->calls = 0;
    e->callback.swap(mine);
    key->store(this, std::memory_order_release);
    ++starts;
    wake();
}

bool base_timer::stop(timer_handle* key, bool wait, bool force) {
    bool found = false;
    mutex_auto scope(lock, false);
    if (ready.load(std::memory_order_relaxed) && acquire(scope) && ready.load(std::memory_order_relaxed)) {
        ++stops;
        timer_entry* const e = entries->find(key);
        found = e != nullptr;
        if (found)
            cancel(scope, *e, wait, force);
    }
    key->store(nullptr, std::memory_order_release);
    return found;
}

void base_timer::cancel(mutex_auto& scope, timer_entry& e, bool wait, bool force) {
    const std::uint64_t in_callback = e.running_thread;
    if (in_callback && !force)
        e.state = entry_state::finishing;
    else
        entries->bury(e);
    if (force)
        e.key->store(nullptr, std::memory_order_release);
    if (!wait)
        return;

    const std::uint64_t me = os::thread_id();
    if (e.event_driven) {
        if (in_callback != me && running_thread != me)
            wait_due_known(scope);
        return;
    }
    if (in_callback && in_callback != me && !worker_lost())
        wait_for_callback(scope);
}

// Each stop waits on an event of its own. One that all shared would be reset by the stop of a later entry
// while an earlier stop isn't waiting yet; that one would then wait for a callback that isn't its own.
void base_timer::wait_for_callback(mutex_auto& scope) {
    const std::uint32_t call = callback_calls;
    if (blocking_stop) {
        event_waiter end(done_waiters);
        scope.unlock();
        end.wait(os::no_limit);
        scope.lock();
    }
    // A blocking stop comes here with nothing left to wait for, unless the system had no event for it.
    while (running_thread && callback_calls == call) {
        scope.unlock();
        os::sleep_ms(0);
        scope.lock();
    }
}

bool stop(timer_handle* handle, bool wait, bool force) {
    // What a finished callback did is visible to the one who finds its handle null.
    base_timer* const timer = handle->load(std::memory_order_acquire);
    return timer && timer->stop(handle, wait, force);
}

} // namespace cl
