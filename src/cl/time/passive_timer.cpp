#include "cl/time/passive_timer.hpp"

#include <utility>

namespace cl {

namespace {

// How long the end waits for the worker before the kill.
constexpr std::uint32_t stop_ms = 5000;

} // namespace

constinit bool no_timer_threads = false;

passive_timer::passive_timer(std::string timer_name, tick_source source)
    : base_timer(std::move(timer_name), true, source) {
    if (!no_timer_threads)
        thread_obj::start();
    ready = true;
}

passive_timer::~passive_timer() {
    shut_down();
}

void passive_timer::shut_down() {
    if (!no_timer_threads && is_running()) {
        flush_sweep(stop_ms);
        thread_obj::stop(stop_ms);
        // A worker that ends in order clears `ready`.
        killed.store(ready.load(std::memory_order_relaxed), std::memory_order_relaxed);
    }
    drop_entries();
}

bool passive_timer::worker_lost() const {
    // `ready` last: a worker that has just ended in order clears it before it ends.
    return killed.load(std::memory_order_relaxed) ||
           (is_running() && !is_alive() && ready.load(std::memory_order_relaxed));
}

void passive_timer::run() {
    ready = true;
    std::uint32_t timeout = os::no_limit;
    std::vector<os::event_handle> handles;
    while (!stop_requested.test()) {
        handles.push_back(wake_event.handle());
        if (wake_event.test()) {
            const mutex_auto scope(lock, true);
            ++wake_without_wait;
        } else {
            const std::int32_t hit = wait_for_objects(handles, timeout, false);
            last_signalled = hit < 0 ? 0 : handles[static_cast<std::size_t>(hit)];
        }
        // Before the pass: a start during the pass then ends the next wait.
        wake_event.reset();
        const auto permit = gate.load();
        if (permit(true)) {
            timeout = pass(handles);
            permit(false);
        } else {
            timeout = 1;
            handles.pop_back();
        }
    }
    // Under the lock, so that whoever wants to wait for the worker is in a list by now or finds it not ready.
    const mutex_auto scope(lock, true);
    signal_all(due_known_waiters);
    signal_all(sweep_begin_waiters);
    signal_all(sweep_end_waiters);
    ready = false;
}

void passive_timer::wait_due_known(mutex_auto& scope) {
    if (!is_alive())
        return;
    event_waiter waiter(due_known_waiters);
    wake_event.set();
    scope.unlock();
    waiter.wait(os::no_limit);
    scope.lock();
}

void passive_timer::flush_sweep(std::uint32_t timeout_ms) {
    if (stop_requested.test() || !is_alive())
        return;
    mutex_auto scope(lock, false);
    if (!acquire(scope) || !ready.load(std::memory_order_relaxed))
        return;
    event_waiter begun(sweep_begin_waiters);
    event_waiter ended(sweep_end_waiters);
    wake_event.set();
    scope.unlock();
    begun.wait(timeout_ms);
    ended.wait(timeout_ms);
    scope.lock();
}

} // namespace cl
