// vflctl service: the state of the service, and its change.
#pragma once

#include "ctl/library_state.hpp"
#include "ctl/log_selection.hpp"
#include "ctl/options.hpp"
#include "ctl/output.hpp"
#include "ctl/service_system.hpp"

#include <functional>

namespace vfl::ctl {

// Exit codes of `service status` beside 0 and 1.
inline constexpr int exit_not_running = 3, exit_not_installed = 4;

// What the command asks of its surroundings.
struct service_world {
    service_system& service;
    std::function<library_report()> library; // of the running service, by its log
    std::function<std::uint32_t()> tick;     // ms
    std::function<void(std::uint32_t)> sleep;
    std::function<local_ms(std::uint64_t)> to_local; // from a file time
    utc_offset offset;
};

int run_service_in(const service_world& world, const arguments& args, output& out);

} // namespace vfl::ctl
