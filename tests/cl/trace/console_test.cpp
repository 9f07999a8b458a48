#include "cl/trace/list/console.hpp"

#include "cl/trace/list/stream_trace.hpp"
#include "fakes/fake_console.hpp"

#include <gtest/gtest.h>

using namespace cl;
using fake_console = fakes::console;

namespace {

struct console_case {
    const char* name;
    bool out_is_char, err_is_char, application;
    // What "u umlaut" and "euro sign" become, written narrow to out and wide to err.
    std::wstring screen;
    std::string out, err;
    std::vector<os::stream_handle> handles;
};

constexpr auto out_handle = os::stream_handle{2}, err_handle = os::stream_handle{3};

} // namespace

TEST(console, every_combination_of_streams) {
    const console_case rows[] = {
        {"both consoles share that of standard output",
         true,
         true,
         true,
         L"\u00FC\u20AC",
         "",
         "",
         {out_handle, out_handle}},
        {"output redirected, errors go to their own console",
         false,
         true,
         true,
         L"\u20AC",
         "\x81",
         "",
         {err_handle}},
        {"errors redirected", true, false, true, L"\u00FC", "", "?", {out_handle}},
        {"both redirected", false, false, true, L"", "\x81", "?", {}},
        {"no console application", true, true, false, L"", "", "", {}},
        {"no console application, redirected", false, false, false, L"", "", "", {}},
    };
    for (const console_case& row : rows) {
        SCOPED_TRACE(row.name);
        auto& fake = fake_console::instance();
        fake = fake_console{};
        fake.out_is_char = row.out_is_char;
        fake.err_is_char = row.err_is_char;
        console_application = row.application;
        init_console();
        stdout_trace().write("\xFC", true);
        stderr_trace().write(L"\u20AC", true);
        EXPECT_EQ(fake.written, row.screen);
        EXPECT_EQ(fake.out, row.out);
        EXPECT_EQ(fake.err, row.err);
        EXPECT_EQ(fake.handles, row.handles);
    }
    console_application = true;
}

TEST(console, a_status_text_is_erased_ahead_of_the_next_write) {
    auto& fake = fake_console::instance();
    fake = fake_console{};
    fake.screen = {10, 20, 35, 22, 0x1F07};
    init_console();
    EXPECT_EQ(cl::console.window_left, 10);
    EXPECT_EQ(cl::console.window_top, 20);
    EXPECT_EQ(cl::console.text_attributes, 7u);

    cl::console.transient_length = 5;
    console_write(L"next");
    EXPECT_EQ(fake.written, L"     next");
    EXPECT_EQ(fake.cursor, (std::vector<std::pair<std::int16_t, std::int16_t>>{{30, 22}, {30, 22}}));
    EXPECT_EQ(cl::console.transient_length, 0);

    fake.written.clear();
    cl::console.transient_length = 5;
    console_write(L"\nline");
    EXPECT_EQ(fake.written, L"\nline") << "a line feed leaves the status text behind";
    EXPECT_EQ(cl::console.transient_length, 0);
}

TEST(console, zeros_end_a_streams_text_but_not_a_consoles) {
    auto& fake = fake_console::instance();
    fake = fake_console{};
    init_console();
    console_write(std::wstring(L"a\0b", 3));
    EXPECT_EQ(fake.written, std::wstring(L"a\0b", 3));
    EXPECT_EQ(to_oem(std::string("a\0b", 3)), "a");
    EXPECT_EQ(to_oem(std::string()), "");
    EXPECT_EQ(to_oem(L"gr\u00FC\u00DFe"), "gr\x81\xE1"
                                          "e");
}

TEST(console, a_process_without_a_console_says_nothing_and_survives) {
    auto& fake = fake_console::instance();
    fake = fake_console{};
    fake.has_screen = false;
    init_console();
    cl::console.transient_length = 3;
    write_stdout(std::string("x"));
    EXPECT_EQ(fake.written, L"");
    fake = fake_console{};
    init_console();
}
