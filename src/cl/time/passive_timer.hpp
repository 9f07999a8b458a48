// A timer with a worker thread of its own, which sleeps until the nearest deadline.
#pragma once

#include "cl/time/base_timer.hpp"
#include "cl/time/thread_obj.hpp"

namespace cl {

// Would keep every passive_timer from starting and stopping its worker. False in this program.
extern bool no_timer_threads;

// The constructor starts the worker, so no class may derive from this one. The process has one, named "slow",
// which serves everything that may be late. If the system refuses the thread, is_running is false: the timer
// takes entries and never calls them, and nothing waits.
//
// Only the worker runs passes, one callback at a time. A callback that never returns therefore blocks all
// others, every waiting stop of its entry, flush_sweep and with it the end of the process.
class passive_timer final : public base_timer, public thread_obj {
public:
    explicit passive_timer(std::string timer_name, tick_source source = os::tick_count);
    ~passive_timer();

    using base_timer::start;
    using base_timer::stop;

    // Wakes the worker and waits until it has begun and finished a sweep; what is due by now has been called
    // then, unless a pass is under way at the call: its end counts as the end. The time-out has no effect;
    // this is deliberate. Returns at once if the worker was asked to stop or isn't alive. Neither for a
    // callback nor with a lock that a callback takes.
    void flush_sweep(std::uint32_t timeout_ms);

    // The destructor's body, for an object that stays in its place: ends the worker (with a kill after 5 s)
    // and drops what has not fired. From then on start and stop do nothing, and may still be called by any
    // thread. Call it from one thread. Without effect if called again.
    void shut_down();

    bool worker_lost() const override;

private:
    void run() override;
    void notify_stop() override { wake(); }

    void on_sweep_begin() override { signal_all(sweep_begin_waiters); }
    void on_sweep_end() override { signal_all(sweep_end_waiters); }
    void on_due_known(std::size_t) override { signal_all(due_known_waiters); }
    void wake() override { wake_event.set(); }
    void wait_due_known(mutex_auto& scope) override;

    event wake_event;
    event_list due_known_waiters;
    event_list sweep_begin_waiters;
    event_list sweep_end_waiters;
    os::event_handle last_signalled = 0; // what ended the last wait, or 0; the worker's own
    std::atomic<bool> killed{false};     // the worker did not stop in time
};

} // namespace cl
