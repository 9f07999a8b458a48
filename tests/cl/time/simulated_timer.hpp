// A timer without a worker, on a clock that moves when it is told to.
#pragma once

#include "cl/time/base_timer.hpp"

struct simulated_timer final : cl::base_timer {
    static inline std::uint32_t now = 0;

    explicit simulated_timer(std::uint32_t start, bool blocking = false)
        : base_timer((now = start, "simulated"), blocking, [] { return now; }) {
        ready = true;
    }

    // `start` with the callback last, without and with replacement.
    using callback = std::function<void()>;
    void arm(cl::timer_handle& key, std::uint64_t interval, std::uint32_t flags, const callback& f) {
        start(&key, f, interval, flags, false);
    }
    void replace(cl::timer_handle& key, std::uint64_t interval, std::uint32_t flags, const callback& f) {
        start(&key, f, interval, flags, true);
    }

    // Moves the clock and runs a pass; what the pass returned.
    std::uint32_t pass_after(std::uint32_t ms) {
        now += ms;
        return pass(handles);
    }

    std::vector<cl::os::event_handle> handles; // what the last pass wants to wait for
    std::uint32_t sweep_ms = 0;                // how long a sweep takes, callbacks apart
    int wakes = 0, due_waits = 0, sweeps = 0, ends = 0;
    std::vector<std::size_t> due_counts;
    std::vector<std::uint32_t> waits;

private:
    void on_wait(std::uint32_t timeout_ms) override { waits.push_back(timeout_ms); }
    void on_sweep_begin() override {
        ++sweeps;
        now += sweep_ms;
    }
    void on_sweep_end() override { ++ends; }
    void on_due_known(std::size_t count) override { due_counts.push_back(count); }
    void wake() override { ++wakes; }
    void wait_due_known(cl::mutex_auto&) override { ++due_waits; }
};
