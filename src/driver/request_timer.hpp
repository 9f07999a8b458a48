// How long a request to the driver takes, for users who ask for it.
#pragma once

#include "cl/time/hrtime.hpp"

#include <cstdint>

namespace vfl {

// Starts on construction; one for each request, also for one that is repeated. Does nothing unless `on`.
class request_timer {
public:
    explicit request_timer(bool on) : on_(on), start_(on ? cl::hrtime.now() : 0) {}

    // Takes the time and writes it to trace_out. Called when the request has succeeded, before its reply is
    // shown.
    void report() const {
        if (on_)
            report_elapsed(cl::hrtime.now() - start_);
    }

private:
    static void report_elapsed(std::uint64_t ticks);

    bool on_;
    std::uint64_t start_;
};

} // namespace vfl
