// The service "VexaFlowS": its body and its control handler.
#pragma once

#include <cstdint>

namespace vfl {

// The body: reports the start, starts the service library and reports running, also when that start failed:
// the service then stays up as an empty shell. Runs on a thread of the manager's and returns.
void service_main();

// Answers one control. `event_data` is the session notification of a session change (its second 32-bit field
// is the session's id). May run while service_main is still at the start.
std::uint32_t service_control_handler(std::uint32_t control, std::uint32_t event_type, void* event_data,
                                      void* context);

// Logs a suspend or a resume; a resume brings the hosted network back if the user has asked for that.
void power_event(bool resume);

} // namespace vfl
