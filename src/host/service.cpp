#include "host/service.hpp"

#include "cl/format/format.hpp"
#include "cl/os/mutex.hpp"
#include "cl/trace/trace_list.hpp"
#include "cl/wifi/virtual_wifi_supervisor.hpp"
#include "host/service_answer.hpp"
#include "host/service_manager.hpp"
#include "host/service_start.hpp"

#include <atomic>
#include <cstring>

namespace vfl {

namespace {

// What the handler keeps. It runs on one thread at a time, but beside service_main.
constinit std::atomic<std::uint32_t> present_state{0}, session_state{0}, session_id{0};

// The handler may report while service_main does: what the manager hears last is the state that stands.
constinit cl::mutex reporting;

void say_error(const char* format, std::uint32_t error) {
    cl::trace_out((cl::basic_format<char>(format) << error).str());
}

std::uint32_t report(std::uint32_t state) {
    const cl::mutex_auto scope(reporting, true);
    present_state = state;
    return report_service_state(state);
}

std::uint32_t report_present_state() {
    const cl::mutex_auto scope(reporting, true);
    return report_service_state(present_state);
}

// The second field of a session notification.
std::uint32_t notified_session(const void* event_data) {
    std::uint32_t id = 0;
    if (event_data)
        std::memcpy(&id, static_cast<const char*>(event_data) + sizeof id, sizeof id);
    return id;
}

constexpr std::uint32_t control_session_change = 14;

} // namespace

void service_main() {
    cl::trace_out(std::string("srv: service_start\n"));
    if (const std::uint32_t error = register_handler(service_control_handler)) {
        say_error("RegisterServiceCtrlHandlerEx error %?\n", error);
        return;
    }
    if (const std::uint32_t error = report(service_start_pending))
        say_error("1: SetServiceStatus error %?\n", error);
    if (!start_service())
        cl::trace_out(std::string("start_service reported an error\n"));
    if (const std::uint32_t error = report(service_running))
        say_error("2: SetServiceStatus error %?\n", error);
}

std::uint32_t service_control_handler(std::uint32_t control, std::uint32_t event_type, void* event_data,
                                      void*) {
    const std::uint32_t id = control == control_session_change ? notified_session(event_data) : 0;
    const std::uint32_t seen = present_state;
    const service_answer answer =
        answer_control(control, event_type, id, {session_state.load(), session_id.load()}, seen);
    for (const std::string& line : answer.lines)
        cl::trace_out(line);
    if (answer.power != power_action::none)
        power_event(answer.power == power_action::resume);
    session_id = answer.session.id;
    session_state = answer.session.state;
    if (answer.query_token) {
        std::uint32_t error = 0;
        if (has_user_token(answer.session.id, error))
            session_state = 0;
        else
            say_error("srv: WTSQueryUserToken error %?\n", error);
    }
    // The start may have ended meanwhile. Nobody could do anything about a failure here.
    if (answer.state != seen)
        report(answer.state);
    else
        report_present_state();
    return answer.result;
}

void power_event(bool resume) {
    cl::trace_out(std::string(resume ? "Power resume\n" : "Power suspend\n"));
    if (resume)
        cl::start_virtual_wifi_supervisor();
}

} // namespace vfl
