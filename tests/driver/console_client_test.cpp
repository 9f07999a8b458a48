// The client and both transports against the scripted device, on a machine whose time the device moves.
#include "driver/console_client.hpp"

#include "cl/time/hrtime.hpp"
#include "contracts/protocol.h"
#include "driver/bin_command.hpp"
#include "driver/client_options.hpp"
#include "driver/hex_dump.hpp"
#include "driver/text_command.hpp"
#include "fakes/fake_clock.hpp"
#include "fakes/fake_console.hpp"
#include "fakes/fake_device.hpp"
#include "fakes/fake_machine.hpp"
#include "fakes/trace_capture.hpp"

#include <cstring>
#include <gtest/gtest.h>
#include <vector>

using fakes::device;
using fakes::device_request;
using fakes::machine;

namespace {

struct driver_test : testing::Test {
    device& dev = device::instance();
    fakes::trace_capture said;

    driver_test() {
        dev = device{};
        fakes::console::instance() = fakes::console{};
        fakes::clock::reset();
        machine::instance() = machine{};
        cl::hrtime.select_source(cl::source_automatic); // 10 MHz
    }
    ~driver_test() override { fakes::clock::on_sleep(nullptr); }

    int run(const wchar_t* line, const wchar_t* command = nullptr) {
        fakes::console::instance().command_line = line;
        return vfl::run_console_client(VFL_DEVICE_NAME, VFL_TEXT_COMMAND_IOCTL, command);
    }
};

struct no_more_sleep {};

// A request that takes so long and is answered so.
struct step {
    std::uint64_t ns;
    device::answer answer{};
};

std::string text(const char* ascii) {
    return vfl::utf16_bytes(std::wstring(ascii, ascii + std::strlen(ascii)));
}

std::string failed(const std::string& error, const std::string& last) {
    return "string_ioctl_command(a) returned error " + error + ", ret=0, maxsz=1048576\n" + last;
}

} // namespace

TEST_F(driver_test, requests_and_replies) {
    const std::string cut("o\0k\0\0\0x\0", 8), blanks(44, ' '), ok = text("ok\n"), zeros(4096, '\0');
    constexpr std::uint32_t more = 122;
    constexpr std::uint64_t ms = 1000000;
    const struct {
        const char* name;
        const wchar_t* line;
        std::vector<step> steps;
        int result;
        std::string said; // on trace_out, of a failure on trace_err; nothing on the other
    } rows[] = {
        {"the command goes as it is", L"vfl  a \"b\" ", {{1, {0, ok}}}, 0, "ok\n"},
        {"no command is an empty one", L"vfl", {{1}}, 0, ""},
        {"a NUL ends the reply", L"vfl a", {{1, {0, cut}}}, 0, "ok"},
        {"an odd last byte is dropped", L"vfl a", {{1, {0, cut.substr(0, 3)}}}, 0, "o"},
        {"a boast is not believed", L"vfl a", {{1, {0, cut, 0xFFFFFFFF}}}, 0, "ok"},
        {"dump", L"vfl -hex a", {{1, {0, "\xAC\x20"}}}, 0, "ac 20" + blanks + ". \n"},
        {"port", L"vfl a", {{1, {31, ok}}}, 1, failed("31", "Port not found.\n")},
        {"commands", L"vfl a", {{1, {50}}}, 1, failed("50", "Device does not support commands.\n")},
        {"other", L"vfl a", {{1, {4000000000}}}, 1, failed("4000000000", "I/O Control error 4000000000\n")},
        {"no time of a failure", L"vfl -time a", {{ms, {31}}}, 1, failed("31", "Port not found.\n")},
        {"time first", L"vfl -time a", {{1234500, {0, ok}}}, 0, "time: 0.0012345 sec\nok\n"},
        {"of a dump",
         L"v -hex -time a",
         {{3000 * ms, {0, text("a")}}},
         0,
         "time: 3 sec\n61 00" + blanks + "a.\n"},
        {"no time at all", L"vfl -time", {{99}}, 0, "time: 0 sec\n"},
        {"a day", L"vfl -time a", {{86400000 * ms + 700, {0, ok}}}, 0, "time: 86400.0000007 sec\nok\n"},
        {"last try", L"v -binnop -time", {{ms, {more}}, {ms, {more}}, {5 * ms}}, 0, "time: 0.005 sec\n"},
        {"of the table", L"v -bincons -time", {{ms, {more}}, {5 * ms}}, 0, "time: 0.005 sec\n"},
        {"failing at last",
         L"vfl -time -binnop",
         {{1, {more}}, {ms, {5}}},
         1,
         "ioctl_bin_command(0x8000202c) returned error 5, ret=0\n"},
        {"boast of bytes",
         L"v -hex -binnop",
         {{1, {0, "", 0xFFFFFFFF}}},
         0,
         vfl::hex_dump(zeros.data(), 4096, "")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        dev = device{};
        machine::instance().ns = 0; // whole ticks
        std::size_t n = 0;
        dev.act = [&](const device_request&) {
            const step& s = row.steps.at(n++);
            machine::instance().advance_ns(s.ns);
            return s.answer;
        };
        said.out.text.clear();
        said.err.text.clear();
        EXPECT_EQ(run(row.line), row.result);
        EXPECT_EQ(n, row.steps.size());
        const vfl::client_options options = vfl::read_client_options(row.line);
        if (!options.bin_cons && !options.bin_nop) {
            EXPECT_EQ(dev.requests[0].code, 0x80002018u);
            EXPECT_EQ(dev.requests[0].out_size, 0x200000u);
            EXPECT_EQ(dev.requests[0].in, vfl::utf16_bytes(options.command));
        }
        EXPECT_EQ(said.out.text, row.result ? "" : row.said);
        EXPECT_EQ(said.err.text, row.result ? row.said : "");
        EXPECT_EQ(dev.opened, L"\\\\.\\VEXAFLOW$D");
        EXPECT_EQ(dev.open_count, 0) << "the device is closed on every way out";
    }
}

TEST_F(driver_test, long_commands_are_shortened_in_messages) {
    dev.act = [](const device_request&) { return device::answer{5}; };
    for (const auto& [command, shown] : {std::pair{L"12345678901234567890123", "12345678901234567890123"},
                                         std::pair{L"123456789012345678901234", "12345678901234567890..."},
                                         std::pair{L"\u4E2D\xD83D\xDE00", "\xE4\xB8\xAD\xF0\x9F\x98\x80"}}) {
        said.err.text.clear();
        std::wstring reply = L"old";
        EXPECT_EQ(vfl::string_ioctl_command(7, 1, command, reply, 16, false), 5u);
        EXPECT_EQ(said.err.text,
                  std::string("string_ioctl_command(") + shown + ") returned error 5, ret=0, maxsz=16\n");
        EXPECT_EQ(reply, L"old");
    }
    EXPECT_EQ(said.err.flushes, 3);
}

TEST_F(driver_test, a_missing_device_is_named) {
    dev.exists = false;
    EXPECT_EQ(run(L"vfl -bincons"), 1);
    EXPECT_EQ(said.err.text, "Unable to open device 'VEXAFLOW$D'.\n");
    EXPECT_TRUE(dev.requests.empty());
}

TEST_F(driver_test, a_preset_command_reads_no_options) {
    EXPECT_EQ(run(L"vfl -binnop -ever", L"-hex"), 0);
    ASSERT_EQ(dev.requests.size(), 1u);
    EXPECT_EQ(dev.requests[0].in, text("-hex"));
}

TEST_F(driver_test, repeats_for_ever_also_on_errors) {
    dev.act = [this](const device_request&) { return device::answer{dev.requests.size() == 2 ? 31u : 0u}; };
    fakes::clock::on_sleep([this](std::uint32_t ms) {
        EXPECT_EQ(ms, 1u);
        if (dev.requests.size() == 4)
            throw no_more_sleep{};
    });
    EXPECT_THROW(run(L"vfl -ever a"), no_more_sleep);
    EXPECT_EQ(said.err.text, failed("31", "Port not found.\n"));
    EXPECT_EQ(dev.open_count, 0);
}

TEST_F(driver_test, a_request_is_repeated_whole_and_other_errors_end_it) {
    dev.act = [this](const device_request&) { return device::answer{dev.requests.size() < 3 ? 122u : 5u}; };
    std::string reply(8, 'x');
    std::uint32_t returned = 0;
    EXPECT_EQ(vfl::ioctl_bin_command(7, 0x10, "req", 3, reply, returned, false, true), 5u);
    ASSERT_EQ(dev.requests.size(), 3u);
    for (const device_request& r : dev.requests)
        EXPECT_EQ(r.in, "req");
    EXPECT_EQ(said.err.text, "ioctl_bin_command(0x10) returned error 5, ret=0\n");
    EXPECT_EQ(said.err.flushes, 1);
    EXPECT_EQ(reply.size(), 8192u);
}
