// A timer without a worker: a test moves its clock and runs its passes.
#pragma once

#include "cl/time/base_timer.hpp"

#include <vector>

namespace fakes {

struct simulated_timer final : cl::base_timer {
    explicit simulated_timer(tick_source clock) : base_timer("simulated", false, clock) {}

    // What the pass returned.
    std::uint32_t run_pass() { return pass(handles); }

    std::vector<cl::os::event_handle> handles; // what the last pass wants to wait for
    int wakes = 0, due_waits = 0;

private:
    void wake() override { ++wakes; }
    void wait_due_known(cl::mutex_auto&) override { ++due_waits; }
};

} // namespace fakes
