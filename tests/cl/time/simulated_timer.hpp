// A timer without a worker: a test moves its clock and runs its passes.
#pragma once

#include "cl/time/base_timer.hpp"

#include <vector>

namespace fakes {

struct simulated_timer final : cl::base_timer {
    static inline std::uint32_t now = 0; // of those that bring no clock of their own

    explicit simulated_timer(tick_source clock = [] { return now; })
        : base_timer("simulated", false, clock) {}

    // What the pass returned.
    std::uint32_t run_pass() { return pass(handles); }
    std::uint32_t pass_after(std::uint32_t ms) {
        now += ms;
        return run_pass();
    }

    std::vector<cl::os::event_handle> handles; // what the last pass wants to wait for
    int due_waits = 0;

private:
    void wake() override {}
    void wait_due_known(cl::mutex_auto&) override { ++due_waits; }
};

} // namespace fakes
