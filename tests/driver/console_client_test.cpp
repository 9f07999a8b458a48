// The client and both transports against the scripted device.
#include "driver/client/console_client.hpp"

#include "driver/channel/bin_command.hpp"
#include "driver/channel/protocol.h"
#include "driver/channel/text_command.hpp"
#include "fakes/fake_clock.hpp"
#include "fakes/fake_console.hpp"
#include "fakes/fake_device.hpp"
#include "fakes/trace_capture.hpp"

#include <gtest/gtest.h>

using fakes::device;
using fakes::device_request;

namespace {

struct driver_test : testing::Test {
    device& dev = device::instance();
    fakes::trace_capture said;

    driver_test() {
        dev = device{};
        fakes::console::instance() = fakes::console{};
        fakes::clock::reset();
    }
    ~driver_test() override { fakes::clock::on_sleep(nullptr); }

    int run(const wchar_t* line, const wchar_t* command = nullptr) {
        fakes::console::instance().command_line = line;
        return vfl::run_console_client(VFL_DEVICE_NAME, VFL_TEXT_COMMAND_IOCTL, command);
    }
};

struct no_more_sleep {};

} // namespace

TEST_F(driver_test, text_commands) {
    const std::string cut("o\0k\0\0\0x\0", 8);
    const struct {
        const char* name;
        const wchar_t* line;
        device::answer answer;
        int result;
        std::string request, out, err;
    } rows[] = {
        {"the command goes as it is",
         L"vfl  a \"b\" ",
         {0, std::string("o\0k\0\n\0", 6)},
         0,
         std::string("a\0 \0\"\0b\0\"\0 \0", 12),
         "ok\n",
         ""},
        {"no command is an empty one", L"vfl", {}, 0, "", "", ""},
        {"a NUL ends the reply", L"vfl a", {0, cut}, 0, std::string("a\0", 2), "ok", ""},
        {"an odd last byte is dropped",
         L"vfl a",
         {0, std::string("o\0k", 3)},
         0,
         std::string("a\0", 2),
         "o",
         ""},
        {"a boast is not believed", L"vfl a", {0, cut, 0xFFFFFFFF}, 0, std::string("a\0", 2), "ok", ""},
        {"dump",
         L"vfl -hex a",
         {0, std::string("\xAC\x20", 2)},
         0,
         std::string("a\0", 2),
         "ac 20" + std::string(44, ' ') + ". \n",
         ""},
        {"port",
         L"vfl a",
         {31, ""},
         1,
         std::string("a\0", 2),
         "",
         "string_ioctl_command(a) returned error 31, ret=0, maxsz=1048576\nPort not found.\n"},
        {"no commands",
         L"vfl a",
         {50, "", 4},
         1,
         std::string("a\0", 2),
         "",
         "string_ioctl_command(a) returned error 50, ret=4, maxsz=1048576\nDevice does not support "
         "commands.\n"},
        {"another error",
         L"vfl a",
         {4000000000, ""},
         1,
         std::string("a\0", 2),
         "",
         "string_ioctl_command(a) returned error 4000000000, ret=0, maxsz=1048576\nI/O Control error "
         "4000000000\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        dev = device{};
        dev.act = [&](const device_request&) { return row.answer; };
        said.out.text.clear();
        said.err.text.clear();
        EXPECT_EQ(run(row.line), row.result);
        ASSERT_EQ(dev.requests.size(), 1u);
        EXPECT_EQ(dev.requests[0].code, 0x80002018u);
        EXPECT_EQ(dev.requests[0].out_size, 0x200000u);
        EXPECT_EQ(dev.requests[0].in, row.request);
        EXPECT_EQ(said.out.text, row.out);
        EXPECT_EQ(said.err.text, row.err);
        EXPECT_EQ(dev.opened, L"\\\\.\\VEXAFLOW$D");
        EXPECT_EQ(dev.open_count, 0) << "the device is closed on every way out";
    }
}

TEST_F(driver_test, long_commands_are_shortened_in_messages) {
    dev.act = [](const device_request&) { return device::answer{5, ""}; };
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
    EXPECT_EQ(dev.requests[0].in, std::string("-\0h\0e\0x\0", 8));
}

TEST_F(driver_test, repeats_for_ever_also_on_errors) {
    dev.act = [this](const device_request&) {
        return device::answer{dev.requests.size() == 2 ? 31u : 0u, ""};
    };
    fakes::clock::on_sleep([this](std::uint32_t ms) {
        EXPECT_EQ(ms, 1u);
        if (dev.requests.size() == 4)
            throw no_more_sleep{};
    });
    EXPECT_THROW(run(L"vfl -ever a"), no_more_sleep);
    EXPECT_EQ(dev.requests.size(), 4u);
    EXPECT_NE(said.err.text.find("Port not found.\n"), std::string::npos);
    EXPECT_EQ(dev.open_count, 0);
}

TEST_F(driver_test, a_request_is_repeated_whole_and_other_errors_end_it) {
    dev.act = [this](const device_request&) {
        return device::answer{dev.requests.size() < 3 ? 122u : 5u, ""};
    };
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
