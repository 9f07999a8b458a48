#include "ctl/service_command.hpp"
#include "rows.hpp"
#include "text_output.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>

using namespace vfl::ctl;

namespace {

// A service whose changes take their time, which only waits advance.
class simulated_service final : public service_system {
public:
    std::uint32_t now = 0, state = state_running, next = 0, next_at = 0;
    std::uint32_t query_error = 0, exit_code = 0, stop_error = 0, starts_as = state_running;
    std::uint32_t process_ends_at = 0, starts_refused = 0; // a start is refused for that many ms
    std::uint32_t change_ms = 200;
    std::string calls;

    service_facts query() override {
        if (next != 0 && now >= next_at)
            state = std::exchange(next, 0);
        service_facts facts;
        facts.error = query_error;
        facts.state = state;
        facts.exit_code = exit_code;
        facts.process_id = state == state_stopped ? 0 : 532;
        return facts;
    }
    std::uint32_t start() override {
        calls += "start ";
        if (query_error != 0 || now < starts_refused)
            return query_error != 0 ? query_error : 1056;
        state = state_start_pending;
        next = starts_as;
        next_at = now + change_ms;
        return 0;
    }
    std::uint32_t stop() override {
        calls += "stop ";
        if (stop_error != 0)
            return stop_error;
        state = state_stop_pending;
        next = state_stopped;
        next_at = now + change_ms;
        return 0;
    }
    std::vector<std::wstring> dependents() override { return {L"One", L"T\x1Bwo"}; }
    bool watch_process() override { return calls += "watch ", true; }
    bool process_ended(std::uint32_t wait_ms) override {
        now = std::max(now, std::min(process_ends_at, now + wait_ms));
        return now >= process_ends_at;
    }
};

TEST(ctl_service, commands) {
    for_rows("ctl_service.tsv", [](const row& r) {
        simulated_service s;
        const std::map<std::string, std::uint32_t*> fields{{"state", &s.state},
                                                           {"query_error", &s.query_error},
                                                           {"exit_code", &s.exit_code},
                                                           {"stop_error", &s.stop_error},
                                                           {"starts_as", &s.starts_as},
                                                           {"process_ends_at", &s.process_ends_at},
                                                           {"starts_refused", &s.starts_refused},
                                                           {"change_ms", &s.change_ms}};
        std::istringstream facts(r.text("facts"));
        for (std::string fact; facts >> fact;)
            *fields.at(fact.substr(0, fact.find('='))) =
                static_cast<std::uint32_t>(std::stoul(fact.substr(fact.find('=') + 1)));
        const std::wstring line = r.wide("words");
        const std::size_t end = std::min(line.find(L' '), line.size());
        std::vector<std::wstring_view> words{L"service", std::wstring_view(line).substr(0, end)};
        if (end < line.size())
            words.push_back(std::wstring_view(line).substr(end + 1));
        const bool missing = r.text("library") == "missing";
        const library_report library{missing ? library_state::missing : library_state::loaded,
                                     missing ? L"Unable to load x" : L"",
                                     {}};
        text_output out;
        const service_world world{s,
                                  [&] { return library; },
                                  [&] { return s.now; },
                                  [&](std::uint32_t ms) { s.now += ms; },
                                  [](std::uint64_t) { return local_ms{}; },
                                  [](local_ms) { return 0; }};
        EXPECT_EQ(run_service_in(world, parse_command_line(words).args, out), r.number("code"));
        EXPECT_EQ(out.out, r.wide("out"));
        EXPECT_EQ(out.err, r.wide("err"));
        EXPECT_EQ(s.calls, r.text("calls"));
        EXPECT_TRUE(out.bytes.empty() ||
                    out.bytes.find("\"exit_code\":" + r.text("code") + "}") != out.bytes.npos)
            << out.bytes;
    });
}

} // namespace
