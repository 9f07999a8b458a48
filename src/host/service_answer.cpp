#include "host/service_answer.hpp"

#include "cl/format/text.hpp"
#include "cl/os/error.hpp"

namespace vfl {

namespace {

// Controls and events as Windows numbers them.
constexpr std::uint32_t control_stop = 1, control_interrogate = 4, control_power_event = 13;
constexpr std::uint32_t power_suspend = 4, power_resume_automatic = 18;
constexpr std::uint32_t session_console_connect = 1, session_unlock = 8;

void answer_power_event(service_answer& answer, std::uint32_t event) {
    answer.lines.push_back(cl::text("SERVICE_CONTROL_POWEREVENT %?\n", event));
    // A resume that a user caused (7) follows an automatic one and is deliberately not acted on.
    if (event == power_resume_automatic)
        answer.power = power_action::resume;
    else if (event == power_suspend)
        answer.power = power_action::suspend;
}

void answer_session_change(service_answer& answer, std::uint32_t event, std::uint32_t session_id) {
    answer.lines.push_back(cl::text("srv: session change: %?\n", session_event_text(event, 0)));
    if (event == session_console_connect) {
        answer.session = {1, session_id};
        answer.lines.push_back(cl::text("srv: session id %?\n", session_id));
    } else if (event == session_unlock && answer.session.state == 1) {
        answer.query_token = true;
    } else {
        answer.session.state = 0;
    }
}

} // namespace

service_answer answer_control(std::uint32_t control, std::uint32_t event_type, std::uint32_t session_id,
                              const session_memory& session) {
    service_answer answer;
    answer.session = session;
    answer.lines.push_back(cl::text("srv: HandlerEx 0x%x\n", control));
    switch (control) {
    case control_stop:
        // The teardown runs in `main`, after the dispatcher has returned.
        answer.stop = true;
        break;
    case control_interrogate:
        break;
    case control_power_event:
        answer_power_event(answer, event_type);
        break;
    case control_session_change:
        answer_session_change(answer, event_type, session_id);
        break;
    default:
        answer.lines.push_back(cl::text("unknown service control %?\n", control));
        answer.result = cl::os::error_call_not_implemented;
    }
    return answer;
}

std::string session_event_text(std::int64_t event, std::int64_t extra) {
    static constexpr const char* texts[] = {
        "console connect", "console disconnect", "console remote connect", "console remote disconnect",
        "session logon",   "session logoff",     "session lock",           "session unlock",
    };
    if (event >= 1 && event <= 8)
        return texts[event - 1];
    return cl::text("unknown (%? %x)", event, extra);
}

} // namespace vfl
