// The process of the service, as far as it may be asked.
#pragma once

#include <cstdint>
#include <optional>

namespace vfl::ctl {

// When the running service's process started, as a file time; nothing when it doesn't run or may not be
// asked.
std::optional<std::uint64_t> service_process_start();

} // namespace vfl::ctl
