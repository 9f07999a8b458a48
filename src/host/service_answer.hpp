// The service's answer to a control of the Service Control Manager, as plain values: what to say, what to do
// and what to report. service.cpp acts on it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vfl {

inline constexpr std::uint32_t service_stopped = 1, service_start_pending = 2, service_running = 4;
inline constexpr std::uint32_t control_session_change = 14;

// What the handler keeps from one control to the next.
struct session_memory {
    std::uint32_t state = 0; // 1 while a console connect waits for its unlock, else 0
    std::uint32_t id = 0;    // session of the last console connect
};

enum class power_action { none, suspend, resume };

struct service_answer {
    std::vector<std::string> lines; // for trace_out, in order, before everything else
    power_action power = power_action::none;
    // Whether to test if the user of session.id has signed in. If so, session.state becomes 0; if not, the
    // error is logged and the next unlock tries again.
    bool query_token = false;
    session_memory session;   // to keep
    bool stop = false;        // report that the service has stopped, and not the present state
    std::uint32_t result = 0; // for the Service Control Manager
};

// `session_id` is that of a session change's notification.
service_answer answer_control(std::uint32_t control, std::uint32_t event_type, std::uint32_t session_id,
                              const session_memory& session);

// A session event (WTS_...) in words; an unknown one with its number and `extra`.
std::string session_event_text(std::int64_t event, std::int64_t extra);

} // namespace vfl
