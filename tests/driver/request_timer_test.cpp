// How long requests take, on a simulated machine whose time the scripted device moves.
#include "cl/time/hrtime.hpp"
#include "driver/channel/protocol.h"
#include "driver/client/console_client.hpp"
#include "fakes/fake_clock.hpp"
#include "fakes/fake_console.hpp"
#include "fakes/fake_device.hpp"
#include "fakes/fake_machine.hpp"
#include "fakes/trace_capture.hpp"

#include <gtest/gtest.h>
#include <vector>

using fakes::device;
using fakes::machine;

namespace {

constexpr std::uint32_t insufficient = 122;

// A request that takes so long and is answered so.
struct step {
    std::uint64_t ns;
    device::answer answer{};
};

} // namespace

TEST(request_timer, tells_the_time_of_each_request_that_succeeds) {
    machine::instance() = machine{};
    cl::hrtime.select_source(cl::source_automatic); // 10 MHz
    const std::string ok("o\0k\0\n\0", 6);
    const struct {
        const char* name;
        const wchar_t* line;
        std::vector<step> steps;
        int result;
        std::string out;
    } rows[] = {
        {"ahead of the reply", L"vfl -time a b", {{1234500, {0, ok}}}, 0, "time: 0.0012345 sec\nok\n"},
        {"ahead of the dump",
         L"vfl -hex -time a b",
         {{3000000000, {0, std::string("a\0", 2)}}},
         0,
         "time: 3 sec\n61 00" + std::string(44, ' ') + "a.\n"},
        {"with an empty reply", L"vfl -time", {{100}}, 0, "time: 0.0000001 sec\n"},
        {"of no time at all", L"vfl -time", {{99}}, 0, "time: 0 sec\n"},
        {"of a day", L"vfl -time a", {{86400000000700, {0, ok}}}, 0, "time: 86400.0000007 sec\nok\n"},
        {"not of a failure", L"vfl -time a", {{1000000, {31, ok}}}, 1, ""},
        {"not unless asked for", L"vfl a", {{1000000, {0, ok}}}, 0, "ok\n"},
        {"not behind the command", L"vfl a -time", {{1000000, {0, ok}}}, 0, "ok\n"},
        {"of a binary command", L"vfl -time -binnop", {{2000000}}, 0, "time: 0.002 sec\n"},
        {"of the last try alone",
         L"vfl -binnop -time",
         {{1000000000, {insufficient}}, {2000000000, {insufficient}}, {5000000}},
         0,
         "time: 0.005 sec\n"},
        {"of the last try of the table alone",
         L"vfl -bincons -time",
         {{1000000000, {insufficient}}, {5000000}},
         0,
         "time: 0.005 sec\n"},
        {"not of a binary command that fails",
         L"vfl -time -binnop",
         {{1000000000, {insufficient}}, {5000000, {5}}},
         1,
         ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        fakes::trace_capture said;
        device& dev = device::instance();
        dev = device{};
        fakes::console::instance() = fakes::console{};
        fakes::clock::reset();
        machine::instance().ns = 0; // whole ticks
        std::size_t n = 0;
        dev.act = [&](const fakes::device_request&) {
            const step& s = row.steps.at(n++);
            machine::instance().advance_ns(s.ns);
            return s.answer;
        };
        fakes::console::instance().command_line = row.line;
        EXPECT_EQ(vfl::run_console_client(VFL_DEVICE_NAME, VFL_TEXT_COMMAND_IOCTL, nullptr), row.result);
        EXPECT_EQ(n, row.steps.size());
        EXPECT_EQ(said.out.text, row.out);
    }
}
