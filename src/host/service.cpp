#include "host/service.hpp"

#include "cl/os/mutex.hpp"
#include "cl/trace/say.hpp"
#include "cl/wifi/virtual_wifi_supervisor.hpp"
#include "host/service_answer.hpp"
#include "host/service_manager.hpp"
#include "host/service_start.hpp"

#include <atomic>
#include <cstring>

namespace vfl {

namespace {

// The state that the manager has heard of. service_main and the handler report on two threads; the lock is
// held across the call, so that the last report is the one that counts.
class reported_state {
public:
    // A new service, which has reported nothing.
    void begin() {
        const cl::mutex_auto scope(lock_, true);
        state_ = 0;
    }
    // Stopped is the last state of a service: a start that ends after it reports nothing. A second stop is
    // reported like the first.
    failure change(std::uint32_t state) {
        const cl::mutex_auto scope(lock_, true);
        if (state_ == service_stopped && state != service_stopped)
            return {};
        state_ = state;
        return report_service_state(state);
    }
    failure repeat() {
        const cl::mutex_auto scope(lock_, true);
        return report_service_state(state_);
    }

private:
    cl::mutex lock_;
    std::uint32_t state_ = 0;
};

constinit reported_state reported;

// What the handler keeps from one control to the next.
constinit std::atomic<std::uint32_t> session_state{0}, session_id{0};

// The second field of a session notification.
std::uint32_t notified_session(const void* event_data) {
    std::uint32_t id = 0;
    if (event_data)
        std::memcpy(&id, static_cast<const char*>(event_data) + sizeof id, sizeof id);
    return id;
}

} // namespace

void service_main() {
    cl::say(cl::trace_out, "srv: service_start\n");
    reported.begin();
    if (const failure error = register_handler(service_control_handler)) {
        cl::say(cl::trace_out, "RegisterServiceCtrlHandlerEx error %?\n", *error);
        return;
    }
    if (const failure error = reported.change(service_start_pending))
        cl::say(cl::trace_out, "1: SetServiceStatus error %?\n", *error);
    if (!start_service())
        cl::say(cl::trace_out, "start_service reported an error\n");
    // Also after a failed start, deliberately: the service stays up as an empty shell.
    if (const failure error = reported.change(service_running))
        cl::say(cl::trace_out, "2: SetServiceStatus error %?\n", *error);
}

std::uint32_t service_control_handler(std::uint32_t control, std::uint32_t event_type, void* event_data,
                                      void*) {
    const std::uint32_t id = control == control_session_change ? notified_session(event_data) : 0;
    const service_answer answer =
        answer_control(control, event_type, id, {session_state.load(), session_id.load()});
    for (const std::string& line : answer.lines)
        cl::trace_out(line);
    if (answer.power != power_action::none)
        power_event(answer.power == power_action::resume);
    session_id = answer.session.id;
    session_state = answer.session.state;
    if (answer.query_token) {
        if (const failure error = query_user_token(answer.session.id))
            cl::say(cl::trace_out, "srv: WTSQueryUserToken error %?\n", *error);
        else
            session_state = 0;
    }
    // Nobody could do anything about a report that fails here.
    static_cast<void>(answer.stop ? reported.change(service_stopped) : reported.repeat());
    return answer.result;
}

void power_event(bool resume) {
    trace_write(&cl::trace_out, resume ? "Power resume\n" : "Power suspend\n");
    if (resume)
        cl::start_virtual_wifi_supervisor();
}

} // namespace vfl
