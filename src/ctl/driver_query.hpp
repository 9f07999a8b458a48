// One request to the driver that may be given up: a driver that never answers must not hang the tool.
#pragma once

#include "cl/os/device.hpp"

#include <cstdint>
#include <string>

namespace vfl::ctl {

struct driver_answer {
    std::uint32_t open_error = 0; // with which the device couldn't be opened; 2: there is none
    bool timed_out = false;       // the request goes on; the process has to leave by its end
    cl::os::request_end end{true, 0};
    std::string reply; // as long as the driver says it is
    double ms = 0;     // the request took
};

inline constexpr std::uint32_t driver_wait_ms = 5000;

// Sends the binary command (VFL_COMMAND_...) on a thread of its own and waits for the answer, for
// driver_wait_ms at most.
driver_answer ask_driver(std::uint32_t command);

} // namespace vfl::ctl
