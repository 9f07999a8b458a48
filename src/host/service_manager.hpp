// The calls to the Service Control Manager, without decisions. All results are 0 or the system's error
// number.
#pragma once

#include <cstdint>

namespace vfl {

using service_main_function = void (*)();
// control, event type, event data, context; the result is the manager's answer.
using service_handler_function = std::uint32_t (*)(std::uint32_t, std::uint32_t, void*, void*);

// Hands the calling thread to the manager until the service has stopped. `body` runs on a thread of the
// manager's.
std::uint32_t run_dispatcher(service_main_function body);

// Registers the handler of the service "VexaFlowS"; called by its body, once.
std::uint32_t register_handler(service_handler_function handler);

// Reports `state`, with stop, power event and session change as the accepted controls and all other fields 0.
std::uint32_t report_service_state(std::uint32_t state);

// Whether the user of a session has a token; the token itself is closed at once. `error` says why not.
bool has_user_token(std::uint32_t session_id, std::uint32_t& error);

} // namespace vfl
