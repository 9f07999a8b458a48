// The calls to the Service Control Manager, without decisions.
#pragma once

#include <cstdint>
#include <optional>

namespace vfl {

// Empty on success, else the system's error number, which may be 0.
using failure = std::optional<std::uint32_t>;

using service_main_function = void (*)();
// control, event type, event data, context; the result is the manager's answer.
using service_handler_function = std::uint32_t (*)(std::uint32_t, std::uint32_t, void*, void*);

// Hands the calling thread to the manager until the service has stopped. `body` runs on a thread of the
// manager's, which may still be inside when this returns.
failure run_dispatcher(service_main_function body);

// Registers the handler of the service; called by its body, once.
failure register_handler(service_handler_function handler);

// Reports `state`, with stop, power event and session change as the accepted controls and all other fields 0.
failure report_service_state(std::uint32_t state);

// Succeeds when somebody is signed in at the session. The user's token is closed at once.
failure query_user_token(std::uint32_t session_id);

} // namespace vfl
