#include "host/service_answer.hpp"

#include <gtest/gtest.h>

using namespace vfl;

namespace {

struct row {
    const char* name;
    std::uint32_t control, event, session_id;
    session_memory before;
    std::string lines;
    power_action power;
    bool query;
    session_memory after;
    std::uint32_t state, result;
};

const row rows[] = {
    {"stop", 1, 0, 0, {1, 5}, "srv: HandlerEx 0x1\n", power_action::none, false, {1, 5}, service_stopped, 0},
    {"interrogate", 4, 9, 9, {0, 5}, "srv: HandlerEx 0x4\n", power_action::none, false, {0, 5}, 2, 0},
    {"pause is unknown",
     2,
     0,
     0,
     {},
     "srv: HandlerEx 0x2\nunknown service control 2\n",
     power_action::none,
     false,
     {},
     2,
     120},
    {"a control of ours is unknown",
     255,
     0,
     0,
     {},
     "srv: HandlerEx 0xff\nunknown service control 255\n",
     power_action::none,
     false,
     {},
     2,
     120},
    {"suspend",
     13,
     4,
     0,
     {1, 2},
     "srv: HandlerEx 0xd\nSERVICE_CONTROL_POWEREVENT 4\n",
     power_action::suspend,
     false,
     {1, 2},
     2,
     0},
    {"automatic resume",
     13,
     18,
     0,
     {},
     "srv: HandlerEx 0xd\nSERVICE_CONTROL_POWEREVENT 18\n",
     power_action::resume,
     false,
     {},
     2,
     0},
    {"a user's resume is not acted on",
     13,
     7,
     0,
     {},
     "srv: HandlerEx 0xd\nSERVICE_CONTROL_POWEREVENT 7\n",
     power_action::none,
     false,
     {},
     2,
     0},
    {"console connect",
     14,
     1,
     3,
     {0, 9},
     "srv: HandlerEx 0xe\nsrv: session change: console connect\nsrv: session id 3\n",
     power_action::none,
     false,
     {1, 3},
     2,
     0},
    {"unlock after a connect",
     14,
     8,
     7,
     {1, 3},
     "srv: HandlerEx 0xe\nsrv: session change: session unlock\n",
     power_action::none,
     true,
     {1, 3},
     2,
     0},
    {"unlock without a connect",
     14,
     8,
     7,
     {0, 3},
     "srv: HandlerEx 0xe\nsrv: session change: session unlock\n",
     power_action::none,
     false,
     {0, 3},
     2,
     0},
    {"another event forgets the connect",
     14,
     7,
     7,
     {1, 3},
     "srv: HandlerEx 0xe\nsrv: session change: session lock\n",
     power_action::none,
     false,
     {0, 3},
     2,
     0},
    {"an unknown event too",
     14,
     9,
     7,
     {1, 3},
     "srv: HandlerEx 0xe\nsrv: session change: unknown (9 0)\n",
     power_action::none,
     false,
     {0, 3},
     2,
     0},
};

} // namespace

TEST(service_answer, every_control) {
    for (const row& r : rows) {
        SCOPED_TRACE(r.name);
        const service_answer a =
            answer_control(r.control, r.event, r.session_id, r.before, service_start_pending);
        std::string lines;
        for (const std::string& line : a.lines)
            lines += line;
        EXPECT_EQ(lines, r.lines);
        EXPECT_EQ(a.power, r.power);
        EXPECT_EQ(a.query_token, r.query);
        EXPECT_EQ(a.session.state, r.after.state);
        EXPECT_EQ(a.session.id, r.after.id);
        EXPECT_EQ(a.state, r.state);
        EXPECT_EQ(a.result, r.result);
    }
}

TEST(service_answer, session_events_in_words) {
    const char* const texts[] = {"unknown (0 1f)",
                                 "console connect",
                                 "console disconnect",
                                 "console remote connect",
                                 "console remote disconnect",
                                 "session logon",
                                 "session logoff",
                                 "session lock",
                                 "session unlock",
                                 "unknown (9 1f)"};
    for (int event = 0; event < 10; ++event)
        EXPECT_EQ(session_event_text(event, 31), texts[event]);
    EXPECT_EQ(session_event_text(-1, 0), "unknown (-1 0)");
}
