// The client and both transports against a scripted device, on a machine whose time the device moves: what no
// driver does under Wine.
#include "driver/console_client.hpp"

#include "cl/time/hrtime.hpp"
#include "connview/connection_table.hpp"
#include "connview/snapshot.hpp"
#include "contracts/protocol.h"
#include "driver/bin_command.hpp"
#include "driver/hex_dump.hpp"
#include "driver/text_command.hpp"
#include "fakes/fake_clock.hpp"
#include "fakes/fake_console.hpp"
#include "fakes/fake_device.hpp"
#include "fakes/fake_machine.hpp"
#include "fakes/snapshot_builder.hpp"
#include "fakes/trace_capture.hpp"

#include <gtest/gtest.h>

namespace {

using fakes::device;

constexpr std::uint64_t ms = 1000000;

// A request that takes so long and is answered so.
struct step {
    std::uint64_t ns;
    device::answer answer{};
};

std::string zeros(std::uint32_t count) {
    return vfl::hex_dump(std::string(count, '\0').data(), count, "");
}

TEST(console_client, requests_and_replies) {
    fakes::snapshot_builder one;
    one.add(7).rtt = 1500;
    const std::string cut("o\0k\0\0\0x\0", 8), odd("o\0k", 3), ok("o\0k\0", 4),
        refused = "returned error 0, ret=0";
    const std::string table =
        "id prot local  remote hostname l7-prot rx vol tx vol rx cps tx cps time rtt program class data\n"
        " 7 udp  [::]:0 [::]:0                0      0      0      0      0    0 1.5\n";
    const struct {
        const char* name;
        const wchar_t* arguments;
        std::vector<step> steps;
        int result;
        std::string out, err = "";
    } rows[] = {
        {"an odd last byte is dropped", L"a", {{1, {0, odd}}}, 0, "o"},
        {"a claim beyond the buffer", L"a", {{1, {0, cut, 0xFFFFFFFF}}}, 0, "ok"},
        {"a claim without bytes", L"a", {{1, {0, "", 100}}}, 0, ""},
        {"bytes beyond the buffer", L"-hex -binnop", {{1, {0, "", 0xFFFFFFFF}}}, 0, zeros(4096)},
        {"of a failure",
         L"-hex -bincons",
         {{1, {5, "", 0xFFFFFFFF}}},
         1,
         zeros(0x40000) + "error 5\n",
         "ioctl_bin_command(0x8000202c) returned error 5, ret=4294967295\n"},
        {"grown with zeros", L"-hex -binnop", {{1, {122}}, {1, {0, "", 8192}}}, 0, zeros(8192)},
        {"a table of more than was counted", L"-bincons", {{1, {122}}, {1, {0, one.build(), 1}}}, 0, table},
        {"failing without a number",
         L"a",
         {{1, {0, ok, -1, true}}},
         1,
         "",
         "string_ioctl_command(a) " + refused + ", maxsz=1048576\nI/O Control error 0\n"},
        {"the same",
         L"-binnop",
         {{1, {0, "", -1, true}}},
         1,
         "",
         "ioctl_bin_command(0x8000202c) " + refused + "\n"},
        {"the time first", L"-time a", {{1234500, {0, ok}}}, 0, "time: 0.0012345 sec\nok"},
        {"no time at all", L"-time", {{99}}, 0, "time: 0 sec\n"},
        {"a day", L"-time a", {{86400000 * ms + 700, {0, ok}}}, 0, "time: 86400.0000007 sec\nok"},
        {"last try", L"-binnop -time", {{ms, {122}}, {ms, {122}}, {5 * ms}}, 0, "time: 0.005 sec\n"},
    };
    device& dev = device::instance();
    cl::hrtime.select_source(cl::source_automatic); // 10 MHz
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        fakes::trace_capture said;
        dev = {};
        fakes::machine::instance() = {};
        std::size_t n = 0;
        dev.act = [&](const auto&) {
            const step& s = row.steps.at(n++);
            fakes::machine::instance().advance_ns(s.ns);
            return s.answer;
        };
        fakes::console::instance().command_line = std::wstring(L"vfl ") + row.arguments;
        EXPECT_EQ(vfl::run_console_client(VFL_DEVICE_NAME, VFL_TEXT_COMMAND_IOCTL, nullptr), row.result);
        EXPECT_EQ(n, row.steps.size());
        EXPECT_EQ(said.out.text, row.out);
        EXPECT_EQ(said.err.text, row.err);
        EXPECT_EQ(said.err.flushes, row.err.empty() ? 0 : 1);
        EXPECT_EQ(dev.open_count, 0) << "the device is closed on every way out";
    }
    dev = {};
    fakes::console::instance() = {};
}

TEST(console_client, a_given_command_reads_no_options) {
    device::instance() = {};
    fakes::console::instance().command_line = L"vfl -binnop -ever";
    EXPECT_EQ(vfl::run_console_client(VFL_DEVICE_NAME, VFL_TEXT_COMMAND_IOCTL, L"-hex"), 0);
    ASSERT_EQ(device::instance().requests.size(), 1u);
    EXPECT_EQ(device::instance().requests[0].in, vfl::utf16_bytes(L"-hex"));
    device::instance() = {};
    fakes::console::instance() = {};
}

TEST(connection_table, ages_and_zeros) {
    vfl::connection_map map;
    fakes::snapshot_builder b; // at 1000 s
    b.narrow(std::string_view("a\0b", 3));
    b.add(1);
    vfl::apply_snapshot(map, b.build(), false, nullptr);
    const std::wstring same = vfl::connection_table(map, 1000);
    EXPECT_NE(same.find(L"a b"), same.npos);
    EXPECT_EQ(same.find(L'\0'), same.npos);
    EXPECT_TRUE(vfl::connection_table(map, INT64_MIN) == same); // no age runs backwards
    EXPECT_FALSE(vfl::connection_table(map, 1001) == same);
}

TEST(hex_dump, prefix) {
    EXPECT_EQ(vfl::hex_dump("", 0, "> "), "");
    EXPECT_EQ(vfl::hex_dump("A", 1, "> "), "> 41\n"); // a single byte has no characters
    EXPECT_EQ(vfl::hex_dump("0123456789abcdef\x7F\x80", 18, ">").substr(48),
              "  0123456789abcdef\n>7f 80" + std::string(44, ' ') + "\x7F.\n");
}

} // namespace
