// The client against a scripted device: what no driver does under Wine.
#include "driver/console_client.hpp"

#include "connview/connection_table.hpp"
#include "connview/snapshot.hpp"
#include "connview/snapshot_builder.hpp"
#include "contracts/protocol.h"
#include "driver/hex_dump.hpp"
#include "fakes/fake_console.hpp"
#include "fakes/fake_device.hpp"
#include "fakes/trace_capture.hpp"

#include <gtest/gtest.h>

namespace {

using answer = fakes::device::answer;

std::string zeros(std::uint32_t count) {
    return vfl::hex_dump(std::string(count, '\0').data(), count, "");
}

TEST(console_client, replies_that_claim_what_is_not_there) {
    fakes::snapshot_builder one;
    one.add(7).rtt = 1500;
    const std::string ok("o\0k\0\0\0x\0", 8);
    const std::string table =
        "id prot local  remote hostname l7-prot rx vol tx vol rx cps tx cps time rtt program class data\n"
        " 7 udp  [::]:0 [::]:0                0      0      0      0      0    0 1.5\n";
    const struct {
        const char* name;
        const wchar_t* arguments;
        std::vector<answer> answers;
        std::string out;
    } rows[] = {
        {"characters beyond the buffer", L"a", {{0, ok, 0xFFFFFFFF}}, "ok"},
        {"characters", L"a", {{0, "", 100}}, ""},
        {"bytes beyond the buffer", L"-hex -binnop", {{0, "", 0xFFFFFFFF}}, zeros(4096)},
        {"bytes of a buffer that has grown", L"-hex -binnop", {{122}, {0, "", 8192}}, zeros(8192)},
        {"fewer than its table has", L"-bincons", {{122}, {0, one.build(), 1}}, table},
    };
    fakes::device& dev = fakes::device::instance();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        fakes::trace_capture said;
        std::size_t n = 0;
        dev = {};
        dev.act = [&](const auto&) { return row.answers.at(n++); };
        fakes::console::instance().command_line = std::wstring(L"vfl ") + row.arguments;
        EXPECT_EQ(vfl::run_console_client(VFL_DEVICE_NAME, VFL_TEXT_COMMAND_IOCTL, nullptr), 0);
        EXPECT_EQ(n, row.answers.size());
        EXPECT_EQ(said.out.text, row.out);
        EXPECT_EQ(dev.open_count, 0) << "the device is closed on every way out";
    }
    // A given command is sent as it is.
    dev.act = [](const std::string& request) {
        return answer{request == std::string("-\0h\0", 4) ? 0u : 5u};
    };
    EXPECT_EQ(vfl::run_console_client(VFL_DEVICE_NAME, VFL_TEXT_COMMAND_IOCTL, L"-h"), 0);
    dev = {};
    fakes::console::instance() = {};
}

TEST(connection_table, ages_and_controls) {
    vfl::connection_map map;
    fakes::snapshot_builder b; // at 1000 s
    b.narrow(std::string_view("a\0\x1B\x7F", 4));
    b.add(1);
    vfl::apply_snapshot(map, b.build(), false, nullptr);
    const std::wstring same = vfl::connection_table(map, 1000);
    EXPECT_NE(same.find(L"a \x1B\x7F"), same.npos);
    EXPECT_NE(vfl::connection_table(map, 1000, vfl::controls::escaped).find(L"a\\x00\\x1b\\x7f "), same.npos);
    EXPECT_TRUE(vfl::connection_table(map, INT64_MIN) == same); // no age runs backwards
    EXPECT_FALSE(vfl::connection_table(map, 1001) == same);
}

TEST(hex_dump, prefix) {
    EXPECT_EQ(vfl::hex_dump("A", 1, "> "), "> 41\n"); // a single byte has no characters
    const std::string dump = vfl::hex_dump("0123456789abcdef\x7F\x80", 18, ">");
    EXPECT_EQ(dump.substr(48), "  0123456789abcdef\n>7f 80" + std::string(44, ' ') + "\x7F.\n");
}

} // namespace
