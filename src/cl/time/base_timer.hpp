// The timer engine: callbacks that run later, once or repeatedly, on one thread of their own.
//
// All times are milliseconds; differences of the tick counter are taken modulo 2^32, so its wrap after 49.7
// days does no harm. Callbacks run in the order in which the entries were armed, one at a time, with no lock
// of the timer held. What a callback throws ends the process.
//
// Any thread may start and stop entries at any time, also from inside a callback. A user may hold a lock of
// its own when it calls `start`. When it calls `stop` with `wait`, it must not hold a lock that the entry's
// callback takes, and for an event-driven entry none that any callback of the timer takes.
#pragma once

#include "cl/os/clock.hpp"
#include "cl/os/mutex.hpp"
#include "cl/time/event.hpp"
#include "cl/time/statistics.hpp"
#include "cl/time/timer_entry.hpp"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace cl {

// Flags of `start`.
inline constexpr std::uint32_t timer_once = 1;      // fires once; beats timer_fixed
inline constexpr std::uint32_t timer_fixed = 2;     // fires a full interval after each firing, no catching up
inline constexpr std::uint32_t timer_on_event = 16; // fires when an event is signalled, and resets it

class base_timer {
public:
    // A source of milliseconds modulo 2^32, callable from any thread.
    using tick_source = std::uint32_t (*)();

    // With blocking_stop a waiting stop sleeps until the callback has ended, and a derived class sets `ready`
    // when it can serve; without, it spins, and the timer is ready at once.
    base_timer(std::string timer_name, bool blocking_stop, tick_source source = os::tick_count);
    // Drops the entries that have not fired. Their handles still point here: they must not be stopped any
    // more, except through another timer that they are armed on anew.
    virtual ~base_timer();
    base_timer(const base_timer&) = delete;
    base_timer& operator=(const base_timer&) = delete;

    // Arms the entry of `key`, to call a copy of `callback` once, `delay` ms from now. An armed entry is left
    // alone, deadline and callback. A callback may arm its own entry again. Nothing happens with an empty
    // callback, or if the timer isn't `ready`. A delay of 2^31 ms or more counts as none. Memory may run out:
    // std::bad_alloc, and nothing has changed.
    void start_once(timer_handle* key, const std::function<void()>& callback, std::uint32_t delay) {
        start(key, callback, delay, timer_once, false);
    }

    // The same with all choices: without timer_once the callback is called every `interval` ms, of which only
    // 32 bits count, and with `replace` an armed entry is armed anew.
    //
    // An entry that is due in the sweep under way fires in it even if it is replaced before that, with the
    // new callback; this is deliberate. A repeated entry that is late fires again at once until it has caught
    // up, at most three intervals; one of an hour or more has no such limit. While any entry is overdue the
    // worker does nothing else, so an interval of 0 is for timer_once alone.
    //
    // With timer_on_event `interval` is the address of an event_base; use the overload below instead.
    void start(timer_handle* key, const std::function<void()>& callback, std::uint64_t interval,
               std::uint32_t flags, bool replace);

    // Arms the entry to call `callback` whenever, or with timer_once when, `signal` is set; the timer resets
    // it. `signal` must exist until the entry has been stopped with `wait`.
    void start(timer_handle* key, const std::function<void()>& callback, event_base& signal,
               std::uint32_t flags, bool replace) {
        start(key, callback, reinterpret_cast<std::uintptr_t>(&signal), flags | timer_on_event, replace);
    }

    // stop with `wait`, for an object that goes or changes what its callback uses.
    bool stop_and_wait(timer_handle* key) { return stop(key, true, false); }
    // stop with `wait` and `force`, for an object that destroys itself in its own callback.
    bool stop_and_forget(timer_handle* key) { return stop(key, true, true); }

    // Disarms the entry of `key` and makes the handle null, whether or not there was an entry; true if there
    // was one. A timer that isn't `ready` has none.
    //
    // With `wait` it returns when no callback of the entry runs any more, and its event may go. Called from
    // that very callback it doesn't wait, and for an event-driven entry not from any callback of the timer. A
    // callback that arms its entry again during the wait leaves it armed, with a null handle: an owner that
    // goes away must see to it that its callback doesn't.
    //
    // The engine makes the handle null once more when a running callback that was stopped returns. With
    // `force` it forgets the handle at once, so that an object may destroy itself in its own callback; a
    // later stop then doesn't find the entry, and doesn't wait for that callback.
    bool stop(timer_handle* key, bool wait, bool force);

    // Whether there was a worker and it ended without leaving the timer in order: it was killed, alone or
    // with the rest of the process. Nobody may wait for it then, nor for a lock that it may have held. False
    // if the worker could never be started: other threads may be alive then.
    virtual bool worker_lost() const { return false; }

    // Whether start and stop have any effect.
    std::atomic<bool> ready{false};
    // The worker calls it with true before each pass, and with false after it. While true gets the answer
    // false, there is no pass and the worker asks again every millisecond. Never null.
    std::atomic<bool (*)(bool)> gate;

    const std::string name;

    // Guards the entries and all figures below. Taken after every lock of a user.
    mutable mutex lock;

    // Figures for diagnosis.
    statistics wait_stat;  // finite time-outs between passes, ms
    statistics late_stat;  // how late timed entries were, ms
    statistics due_stat;   // entries due in a sweep
    statistics count_stat; // entries at the start of a sweep
    statistics pass_stat;  // length of a sweep, ms
    std::uint32_t callback_ms = 0;
    std::uint32_t callback_calls = 0;
    std::uint32_t empty_passes = 0;
    std::uint32_t idle_returns = 0; // passes that left nothing to wait for
    std::uint32_t starts = 0;
    std::uint32_t stops = 0;
    std::uint32_t events_fired = 0;
    std::uint32_t wake_without_wait = 0; // turns of the worker that found it woken already
    std::uint32_t passes = 0;
    std::uint32_t pass_start_tick = 0;
    std::atomic<std::uint32_t> callback_start_tick{0}; // written without the lock

protected:
    // Fires what is due, until nothing is. Returns the ms to the next deadline, os::no_limit without one, and
    // fills `handles` with the events that entries wait for. One thread at a time; without `lock`.
    std::uint32_t pass(std::vector<os::event_handle>& handles);

    // Takes `lock`, unless the worker was lost and the lock with it; then false.
    [[nodiscard]] bool acquire(mutex_auto& scope) const;

    // What the destructor does: destroys the entries, and the timer isn't ready any more.
    void drop_entries();

    // All are called with `lock` held.
    virtual void on_wait(std::uint32_t /*timeout_ms*/) {}
    virtual void on_sweep_begin() {}
    virtual void on_sweep_end() {}
    virtual void on_due_known(std::size_t /*count*/) {}
    // Makes the worker begin a pass soon.
    virtual void wake() = 0;
    // Waits, with the lock given up, until the worker has next found out what is due, so that it has no
    // handle of a stopped event any more.
    virtual void wait_due_known(mutex_auto& scope) = 0;

private:
    struct due_list {
        timer_entry* first = nullptr;
        timer_entry** end = &first;
        std::size_t count = 0;
        void append(timer_entry& e);
    };

    std::uint32_t collect(std::vector<os::event_handle>& handles, due_list& due, timer_entry_chain& removed);
    void collect_timed(timer_entry& e, std::uint32_t elapsed, due_list& due, std::uint32_t& timeout);
    void collect_event(timer_entry& e, due_list& due, std::vector<os::event_handle>& handles);
    void fire(mutex_auto& scope, timer_entry& e, timer_entry_chain& removed);
    void cancel(mutex_auto& scope, timer_entry& e, bool wait, bool force);
    void wait_for_callback(mutex_auto& scope);

    const tick_source tick;
    std::uint32_t last_tick; // at the last pass
    std::unique_ptr<timer_entries> entries;
    event_list done_waiters; // stops that wait for the callback under way; signalled when it ends
    const bool blocking_stop;
    std::uint64_t running_thread = 0; // id of the thread that is in a callback, or 0
};

// Stops the entry of a handle on the timer that it is armed on, as base_timer::stop does. False, at once, for
// a null handle.
bool stop(timer_handle* handle, bool wait, bool force);
inline bool stop_and_wait(timer_handle* handle) {
    return stop(handle, true, false);
}

} // namespace cl
