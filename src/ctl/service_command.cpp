#include "ctl/service_command.hpp"

#include "cl/format/text.hpp"
#include "ctl/commands.hpp"
#include "ctl/json_text.hpp"
#include "product/names.hpp"

namespace vfl::ctl {

namespace {

constexpr std::uint32_t error_access_denied = 5, error_dependents_run = 1051, error_disabled = 1058,
                        error_already_running = 1056, error_not_installed = 1060, error_not_active = 1062;

constexpr std::uint32_t default_wait_s = 60, most_wait_s = 86400;
constexpr std::uint32_t poll_ms = 100;
constexpr std::uint32_t log_delay_ms = 1500;

std::wstring name() {
    return wide_service_name;
}

std::wstring state_text(std::uint32_t state) {
    switch (state) {
    case state_stopped:
        return L"stopped";
    case state_start_pending:
        return L"starting";
    case state_stop_pending:
        return L"stopping";
    case state_running:
        return L"running";
    default:
        return L"in state " + std::to_wstring(state);
    }
}

std::wstring refusal(std::uint32_t error) {
    std::wstring text = L"the service manager refuses (error " + std::to_wstring(error) + L")";
    switch (error) {
    case error_access_denied:
        return text + L"; it needs an administrator's console";
    case error_not_installed:
        return L"the service " + name() + L" is not installed";
    case error_disabled:
        return text + L"; the service is disabled";
    case error_already_running:
        return L"the service runs already";
    case error_not_active:
        return L"the service does not run";
    default:
        return text;
    }
}

std::wstring seconds_text(std::uint32_t ms) {
    return cl::text(L"%?.%? s", ms / 1000, ms / 100 % 10);
}

class command {
public:
    command(const service_world& world, const arguments& args, output& out)
        : world_(world), args_(args), out_(out) {}

    int run() {
        const std::wstring& verb = args_.words[0];
        wait_ms_ = default_wait_s * 1000;
        if (const auto wait = args_.value(L"--wait")) {
            const auto seconds = whole_number(*wait, most_wait_s);
            if (!seconds)
                return fail(L"--wait can't be \"" + *wait +
                                L"\"; it is a number of seconds. See vflctl service --help",
                            exit_usage);
            wait_ms_ = *seconds * 1000;
        }
        if (verb == L"status")
            return status();
        if (verb == L"start")
            return start(args_.has(L"--wait"));
        if (verb == L"stop")
            return stop(args_.has(L"--wait"));
        if (verb == L"restart") {
            const int stopped = world_.service.query().state == state_stopped ? exit_done : stop(true);
            return stopped == exit_done ? start(true) : stopped;
        }
        out_.put(stream::err, unknown_word(verb, {L"status", L"start", L"stop", L"restart"}, *args_.command));
        return exit_usage;
    }

private:
    int fail(const std::wstring& text, int code = exit_failed) {
        out_.put(stream::err, L"vflctl: " + text + L"\n");
        return code;
    }

    void say(const std::wstring& text) { out_.put(stream::out, text); }

    int status() {
        const service_facts facts = world_.service.query();
        const bool json = args_.has(L"--json");
        if (facts.error != 0 && facts.error != error_not_installed)
            return fail(refusal(facts.error));
        const bool installed = facts.error == 0, running = installed && facts.state == state_running;
        const library_report library = running ? world_.library() : library_report();
        const int code = !installed                                ? exit_not_installed
                         : !running                                ? exit_not_running
                         : library.state == library_state::missing ? exit_failed
                                                                   : exit_done;
        if (json) {
            json_text text;
            text.open_object()
                .member(L"schema", L"vflctl.service/1")
                .member(L"service", std::wstring_view(wide_service_name));
            text.member(L"state", std::wstring_view(installed ? state_text(facts.state) : L"not installed"));
            text.name(L"process");
            running ? text.value(facts.process_id) : text.null();
            text.name(L"started");
            if (facts.process_start) {
                const local_ms at = world_.to_local(*facts.process_start);
                text.value(std::wstring_view(iso_time(at, world_.offset(at))));
            } else {
                text.null();
            }
            text.name(L"library");
            library.state == library_state::unknown ? text.null()
                                                    : text.value(library.state == library_state::loaded);
            text.member(L"reason", std::wstring_view(library.reason))
                .member(L"exit_code", code)
                .close_object();
            out_.put_bytes(text.take() + "\r\n");
            return code;
        }
        std::wstring text = name() + L" is " + (installed ? state_text(facts.state) : L"not installed");
        if (running)
            text += L" (process " + std::to_wstring(facts.process_id) + L")";
        if (facts.process_start)
            text += L" since " + time_text(world_.to_local(*facts.process_start)).substr(0, 19);
        if (library.state == library_state::missing)
            text += L", without its library: " + shown(library.reason);
        else if (running && library.state == library_state::unknown)
            text += L"; the log doesn't tell whether its library runs";
        say(text + L"\n");
        return code;
    }

    // Waits until the manager shows the state; false after the time is over, or when a start has come to a
    // stop.
    bool reach(std::uint32_t state, std::uint32_t begin) {
        for (;;) {
            const service_facts facts = world_.service.query();
            if (facts.error == 0 && facts.state == state)
                return true;
            ended_with_ = facts.exit_code;
            ended_ = facts.error == 0 && facts.state == state_stopped;
            if (ended_ || world_.tick() - begin >= wait_ms_)
                return false;
            world_.sleep(poll_ms);
        }
    }

    int stop(bool wait) {
        const std::uint32_t process = world_.service.query().process_id;
        // "Stopped" is reported before the process ends, so the process is what to wait for; opened before
        // the control, while its number is sure to be its own.
        const bool watched = world_.service.watch_process();
        const std::uint32_t begin = world_.tick();
        const std::uint32_t error = world_.service.stop();
        if (error == error_dependents_run) {
            std::wstring text = refusal(error) + L"; these services depend on it and run:";
            for (const std::wstring& dependent : world_.service.dependents())
                text += L" " + shown(dependent);
            return fail(text);
        }
        if (error != 0)
            return fail(refusal(error));
        say(L"stopping " + name() + L" (process " + std::to_wstring(process) + L")");
        if (!wait) {
            say(L"\n");
            return exit_done;
        }
        say(L" ... ");
        if (!reach(state_stopped, begin)) {
            say(L"\n");
            return fail(L"not stopped after " + seconds_text(wait_ms_));
        }
        say(L"reported stopped after " + seconds_text(world_.tick() - begin));
        const std::uint32_t spent = world_.tick() - begin;
        if (!world_.service.process_ended(spent < wait_ms_ ? wait_ms_ - spent : 0)) {
            say(L"\n");
            return fail(L"the process has not ended after " + seconds_text(wait_ms_));
        }
        say(watched ? L", ended after " + seconds_text(world_.tick() - begin) + L"\n"
                    : L"; the process's end can't be seen without an administrator's rights\n");
        return exit_done;
    }

    int start(bool wait) {
        const std::uint32_t begin = world_.tick();
        std::uint32_t error = world_.service.start();
        // The manager may not have seen the end of the process that a restart has just waited for.
        while (error == error_already_running && wait && world_.service.query().state != state_running &&
               world_.tick() - begin < wait_ms_) {
            world_.sleep(poll_ms);
            error = world_.service.start();
        }
        if (error != 0)
            return fail(refusal(error));
        say(L"starting " + name());
        if (!wait) {
            say(L"\n");
            return exit_done;
        }
        say(L" ... ");
        if (!reach(state_running, begin)) {
            say(L"\n");
            return ended_ ? fail(L"it stopped again, with error " + std::to_wstring(ended_with_) +
                                 L". See vflctl log")
                          : fail(L"not running after " + seconds_text(wait_ms_));
        }
        say(L"running after " + seconds_text(world_.tick() - begin) + L"\n");
        // What the log says comes to the disk up to a second after it was said: no complaint before then
        // means nothing.
        const std::uint32_t running = world_.tick();
        library_report library = world_.library();
        while (library.state != library_state::missing && world_.tick() - running < log_delay_ms) {
            world_.sleep(poll_ms);
            library = world_.library();
        }
        if (library.state == library_state::missing)
            return fail(L"it runs without its library: " + shown(library.reason));
        return exit_done;
    }

    const service_world& world_;
    const arguments& args_;
    output& out_;
    std::uint32_t wait_ms_ = 0;
    bool ended_ = false; // instead of reaching the state
    std::uint32_t ended_with_ = 0;
};

} // namespace

int run_service_in(const service_world& world, const arguments& args, output& out) {
    return command(world, args, out).run();
}

} // namespace vfl::ctl
