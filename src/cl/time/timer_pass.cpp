// The pass of a timer: what is due now, and when the next one will be.
#include "cl/time/base_timer.hpp"

#include <utility>

namespace cl {

namespace {

// A repeated entry that is late keeps at most this many intervals to catch up, if its interval is below an
// hour.
constexpr std::int64_t most_debts = 3;
constexpr std::uint64_t hour_ms = 3600000;

} // namespace

void base_timer::due_list::append(timer_entry& e) {
    e.next_due = nullptr;
    *end = &e;
    end = &e.next_due;
    ++count;
}

std::uint32_t base_timer::pass(std::vector<os::event_handle>& handles) {
    timer_entry_chain removed; // goes after the lock: what callbacks own is destroyed without it
    mutex_auto scope(lock, true);
    ++passes;
    std::uint32_t timeout = 0;
    do {
        due_list due;
        timeout = collect(handles, due, removed);
        due_stat.add(due.count);
        if (due.count == 0)
            ++empty_passes;
        on_due_known(due.count);

        for (timer_entry* e = due.first; e; e = e->next_due)
            if (e->state != entry_state::finishing && e->state != entry_state::dead)
                fire(scope, *e, removed);

        // Deliberately also for no_limit, which becomes a very long time-out after a sweep of 1 ms.
        const std::uint32_t spent = tick() - last_tick;
        pass_stat.add(spent);
        timeout = spent < timeout ? timeout - spent : 0;
    } while (timeout == 0);

    on_sweep_end();
    if (timeout == os::no_limit) {
        ++idle_returns;
        return timeout;
    }
    wait_stat.add(timeout);
    on_wait(timeout);
    return timeout;
}

std::uint32_t base_timer::collect(std::vector<os::event_handle>& handles, due_list& due,
                                  timer_entry_chain& removed) {
    count_stat.add(entries->size());
    pass_start_tick = tick();
    const std::uint32_t elapsed = pass_start_tick - std::exchange(last_tick, pass_start_tick);
    on_sweep_begin();
    handles.clear();
    std::uint32_t timeout = os::no_limit;

    timer_entry* previous = nullptr;
    timer_entry* next = nullptr;
    for (timer_entry* e = entries->first(); e; e = next) {
        next = e->next;
        if (e->state == entry_state::dead) {
            timer_entry* const gone = entries->unlink(previous, *e);
            gone->next = removed.release();
            removed.reset(gone);
            continue;
        }
        previous = e;
        if (!e->event_driven)
            collect_timed(*e, elapsed, due, timeout);
        else
            collect_event(*e, due, handles);
    }
    return timeout;
}

void base_timer::collect_timed(timer_entry& e, std::uint32_t elapsed, due_list& due, std::uint32_t& timeout) {
    const auto add = [&e](std::uint64_t ms) {
        e.remaining = static_cast<std::int32_t>(static_cast<std::uint32_t>(e.remaining) +
                                                static_cast<std::uint32_t>(ms));
    };
    add(0 - std::uint64_t{elapsed});
    if (e.remaining < 1) {
        late_stat.add(static_cast<std::uint64_t>(-std::int64_t{e.remaining}));
        due.append(e);
        if (e.state == entry_state::once)
            return;
        if (e.state == entry_state::periodic_fixed)
            e.remaining = 0;
        add(e.interval);
    }
    if (e.remaining <= 0) {
        timeout = 0;
        if (e.interval < hour_ms && e.remaining < -most_debts * static_cast<std::int64_t>(e.interval))
            e.remaining = static_cast<std::int32_t>(-most_debts * static_cast<std::int64_t>(e.interval));
    } else if (static_cast<std::uint32_t>(e.remaining) < timeout) {
        timeout = static_cast<std::uint32_t>(e.remaining);
    }
}

void base_timer::collect_event(timer_entry& e, due_list& due, std::vector<os::event_handle>& handles) {
    auto& signal = *reinterpret_cast<event_base*>(e.interval);
    if (signal.test()) {
        ++events_fired;
        due.append(e);
        signal.reset();
        if (e.state == entry_state::once)
            return;
    }
    // An event that the system could not create would make every wait of the worker fail at once.
    if (const os::event_handle handle = signal.handle())
        handles.push_back(handle);
}

void base_timer::fire(mutex_auto& scope, timer_entry& e, timer_entry_chain& removed) {
    if (e.state == entry_state::once)
        e.state = entry_state::finishing;
    running_thread = os::thread_id();
    e.running_thread = running_thread;
    ++callback_calls;
    ++e.calls;
    std::uint32_t spent = 0;
    {
        // A copy, because another thread may replace the entry's callback while this one runs.
        const std::function<void()> callback = e.callback;
        scope.unlock();
        removed.reset();
        const std::uint32_t begin = tick();
        callback_start_tick.store(begin, std::memory_order_relaxed);
        callback();
        spent = tick() - begin;
    }
    scope.lock();
    callback_ms += spent;
    e.total_ms += spent;
    running_thread = e.running_thread = 0;
    if (e.state == entry_state::finishing) {
        entries->bury(e);
        e.key->store(nullptr, std::memory_order_release);
    }
    // Only one callback runs at a time, so all of them wait for this one.
    signal_all(done_waiters);
}

} // namespace cl
