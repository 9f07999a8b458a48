#include "cl/trace/trace_rig.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

using namespace cl;
using fakes::disk;

namespace {

using texts = std::vector<std::string>;

const std::string stamp = "235907-042 ";

struct line_feed_trace : file_trace {
    explicit line_feed_trace(passive_timer* host) : file_trace(host) { crlf = false; }
};

// n lines of 16 bytes each with CR LF and without a stamp.
std::string lines(int from, int n, const char* ending = "\n") {
    std::string s;
    for (int i = from; i < from + n; ++i)
        s += "line " + std::to_string(100000000 + i) + ending;
    return s;
}

} // namespace

TEST(file_trace, texts_become_stamped_lines) {
    const struct {
        const char* name;
        bool with_time, with_ms, crlf;
        texts writes;
        std::string bytes;
    } rows[] = {
        {"a line", true, true, true, {"abc\n"}, stamp + "abc\r\n"},
        {"one stamp for all lines of a text",
         true,
         true,
         true,
         {"a\nb\n"},
         stamp + "a\r\n" + stamp + "b\r\n"},
        {"a line of three texts",
         true,
         true,
         true,
         {"abc", "", "def\n", "g\n"},
         stamp + "abcdef\r\n" + stamp + "g\r\n"},
        {"no doubled return", true, true, true, {"a\r\n\r\n"}, stamp + "a\r\n" + stamp + "\r\n"},
        {"a return of an earlier text", true, true, true, {"a\r", "\n"}, stamp + "a\r\r\n"},
        {"a return elsewhere", true, true, true, {"\ra\rb\n"}, stamp + "\ra\rb\r\n"},
        {"empty lines", true, true, true, {"\n", "\n\n"}, stamp + "\r\n" + stamp + "\r\n" + stamp + "\r\n"},
        {"an empty text", true, true, true, {""}, ""},
        {"a rest", true, true, true, {"a\nb", "c\nd"}, stamp + "a\r\n" + stamp + "bc\r\n" + stamp + "d"},
        {"without milliseconds", true, false, true, {"a\n", "b\n"}, "235907 a\r\n235907 b\r\n"},
        {"without a stamp", false, true, true, {"a\nb\r\n", "c"}, "a\r\nb\r\nc"},
        {"line feeds", true, true, false, {"a\nb\r\nc"}, stamp + "a\n" + stamp + "b\r\n" + stamp + "c"},
        {"as it stands", false, false, false, {"a\nb\r\n\n", "c"}, "a\nb\r\n\nc"},
        {"bytes above 127", true, true, true, {"\xC3\xBC\xFF\n"}, stamp + "\xC3\xBC\xFF\r\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const clean_system clean;
        const auto trace = row.crlf ? std::make_unique<file_trace>(nullptr)
                                    : std::unique_ptr<file_trace>(std::make_unique<line_feed_trace>(nullptr));
        trace->set_path(L"log");
        trace->set_stamps(row.with_time, row.with_ms);
        for (const std::string& text : row.writes)
            trace->write(text.c_str(), true);
        EXPECT_EQ(disk::bytes(L"log"), row.bytes);
    }
}

TEST(file_trace, stamps_follow_the_clock_and_the_formats) {
    trace_rig<> r;
    const auto write_at = [](file_trace& trace, os::local_time now) {
        fakes::clock::set_local(now);
        trace.write(L"\u00FC\n", true); // wide text comes as UTF-8
    };
    for (const os::local_time now : {os::local_time{2026, 1, 2, 0, 0, 0, 0},
                                     {2026, 1, 2, 0, 0, 0, 9},
                                     {2026, 1, 2, 0, 0, 1, 9},
                                     {2026, 1, 2, 0, 1, 1, 9},
                                     {2026, 1, 3, 12, 1, 1, 9}})
        write_at(r.trace, now);
    r.trace.set_stamps(true, false);
    write_at(r.trace, {2026, 1, 3, 12, 1, 1, 9});
    r.trace.set_stamps(false, false);
    write_at(r.trace, {2026, 1, 3, 12, 1, 1, 9});
    r.trace.set_stamps(true, true);
    write_at(r.trace, {2026, 1, 3, 12, 1, 1, 9});
    r.trace.set_path(r.path);
    r.trace.flush(true);
    const std::string u = "\xC3\xBC\r\n";
    EXPECT_EQ(r.log(), "000000-000 " + u + "000000-009 " + u + "000001-009 " + u + "000101-009 " + u +
                           "120101-009 " + u + "120101 " + u + u + "120101-009 " + u);

    const struct {
        const char* name;
        stamp_format format;
        bool with_time;
        std::string stamp;
    } rows[] = {
        {"the library's own", {"%02?%02?%02?", "'%03?", " ", ""}, true, "235907'042 "},
        {"a prefix", {"%?:%?:%?", ".%?", " - ", "vfl "}, true, "23:59:7.42 - vfl "},
        {"a prefix alone", {"%?", ".%?", " - ", "vfl "}, false, "vfl "},
        {"31 characters, cut in the separator",
         {"%020?%?", "%?", "0123456789", "vfl "},
         true,
         "00000000000000000023"
         "59"
         "7"
         "42"
         "012345"},
        {"cut in the time", {"%040?%?", "%?", "0123456789", "vfl "}, true, std::string(31, '0')},
        {"cut in the prefix",
         {"%?", "", "", "0123456789012345678901234567890123456789"},
         false,
         "0123456789012345678901234567890"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const clean_system clean;
        default_stamp_format = row.format;
        file_trace trace(nullptr);
        trace.set_stamps(row.with_time, true);
        trace.set_path(L"log");
        trace.write("x\n", true);
        EXPECT_EQ(disk::bytes(L"log"), row.stamp + "x\r\n");
    }
}

TEST(file_trace, what_makes_the_writer_flush_by_itself) {
    const auto run = [](const char* name, const auto& prepare, std::size_t waiting, bool use_host = true) {
        SCOPED_TRACE(name);
        trace_rig<> r;
        file_trace trace(use_host ? &r.host : nullptr);
        trace.set_path(r.path);
        trace.set_stamps(false, false);
        prepare(r, trace);
        std::size_t most = 0;
        for (std::size_t i = 1; i <= 100; ++i) {
            trace.write(lines(0, 1).c_str(), true);
            most = std::max(most, i * 16 - r.log().size());
        }
        EXPECT_EQ(most, waiting);
        return trace.is_async();
    };
    EXPECT_TRUE(run(
        "flush_at 1024", [](auto&, auto&) {}, 1008));
    EXPECT_TRUE(run(
        "flush_at 64", [](auto&, auto& t) { t.set_buffer(4096, 8192, 64, true); }, 48));
    EXPECT_TRUE(run(
        "write-through", [](auto&, auto& t) { t.set_write_through(true); }, 0));
    EXPECT_FALSE(run(
        "no timer", [](auto&, auto&) {}, 0, false));
    EXPECT_FALSE(run(
        "a timer that has ended", [](auto& r, auto&) { r.host.shut_down(); }, 0));
    trace_rig<> r;
    r.trace.set_write_through(true);
    r.trace.set_write_through(false);
    r.trace.set_path(r.path);
    r.trace.write("a\n", true);
    EXPECT_EQ(r.log(), "");
    r.trace.flush(true);
    EXPECT_EQ(r.log(), stamp + "a\r\n");
}

TEST(file_trace, a_log_that_cannot_be_renamed_is_deleted) {
    trace_rig<> r;
    r.trace.set_path(r.path);
    r.trace.set_old_path(r.old_path, 0);
    const int holder = disk::hold(r.old_path, os::access_read, os::share_read);
    r.trace.write("a\n", true);
    r.trace.flush(true);
    EXPECT_FALSE(disk::exists(r.path));
    disk::release(holder);
    r.trace.write("b\n", true);
    r.trace.flush(true);
    EXPECT_EQ(r.old_log(), stamp + "b\r\n");
    // A log that can be neither renamed nor deleted is continued.
    const int reader = disk::hold(r.path, os::access_read, os::share_read | os::share_write);
    for (const char* text : {"c\n", "d\n"}) {
        r.trace.write(text, true);
        r.trace.flush(true);
    }
    EXPECT_EQ(r.log(), stamp + "c\r\n" + stamp + "d\r\n");
    disk::release(reader);
}

TEST(file_trace, rotate_if_larger) {
    for (const bool reaches : {false, true})
        for (const bool has_old_path : {false, true}) {
            const clean_system clean;
            file_trace trace(nullptr);
            disk::put(L"log", std::string(reaches ? 1000 : 999, 'x'));
            trace.rotate_if_larger(1000); // no path: nothing to do
            trace.set_path(L"log");
            if (has_old_path)
                trace.set_old_path(L"old", 1 << 20);
            trace.rotate_if_larger(1000);
            EXPECT_EQ(disk::exists(L"old"), reaches && has_old_path);
            EXPECT_EQ(disk::exists(L"log"), !(reaches && has_old_path));
            EXPECT_EQ(disk::open_handles(), 0);
        }
}

// Every call of a flush with rotation fails once; all text gets to the disk in the end, but for what a rename
// that fails is allowed to delete.
TEST(file_trace, a_failure_at_any_call_loses_nothing) {
    bool failed = true;
    for (int n = 1; failed; ++n) {
        SCOPED_TRACE(n);
        trace_rig<> r;
        r.trace.set_stamps(false, false);
        r.trace.set_path(r.path);
        r.trace.set_old_path(r.old_path, 1000);
        std::string whole = std::string(999, 'x');
        disk::put(r.path, whole);
        r.trace.write(lines(0, 1).c_str(), true);
        disk::clear_log();
        disk::fail_call(n, 31);
        r.pass_time(1001);
        failed = false;
        bool rename_failed = false;
        for (const fakes::file_call& call : disk::log()) {
            failed = failed || call.error == 31;
            rename_failed = rename_failed || (call.op == fakes::file_op::rename && call.error == 31);
        }
        disk::clear_faults();
        EXPECT_EQ(disk::open_handles(), 0);
        r.trace.write(lines(1, 1).c_str(), true);
        r.pass_time(1001);
        whole += lines(0, 1, "\r\n");
        if (rename_failed)
            whole.clear();
        EXPECT_EQ(r.old_log() + r.log(), whole + lines(1, 1, "\r\n"));
    }
}

TEST(file_trace, the_end_of_the_process) {
    trace_rig<> r;
    const auto log = [&] { return r.log() + r.old_log(); };
    r.trace.set_stamps(false, false);
    r.trace.set_path(r.path);
    r.trace.set_old_path(r.old_path, 0);
    r.trace.write("a\n", true);
    r.trace.finish();
    EXPECT_EQ(r.old_log(), "a\r\n"); // with rotation
    r.trace.write("b\n", true);      // the log goes on
    EXPECT_TRUE(r.trace.is_async());
    r.trace.shut_down();
    EXPECT_EQ(r.log(), "b\r\n"); // without
    EXPECT_FALSE(r.trace.is_async());
    r.trace.write("refused\n", true);
    r.trace.flush(true);
    r.trace.close_now();
    r.trace.shut_down();
    EXPECT_EQ(log(), "b\r\na\r\n");

    file_trace unfinished(&r.host);
    unfinished.set_path(L"other");
    unfinished.set_stamps(false, false);
    unfinished.close_now(); // nothing to write: it stays open
    unfinished.write("c\n", true);
    unfinished.close_now();
    EXPECT_EQ(disk::bytes(L"other"), "c\r\n");
    unfinished.write("refused\n", true);
    r.pass_time(5000);
    EXPECT_EQ(disk::bytes(L"other"), "c\r\n");

    {
        file_trace destroyed(&r.host);
        destroyed.set_path(L"third");
        destroyed.write("d\n", true);
    }
    EXPECT_EQ(disk::bytes(L"third"), stamp + "d\r\n");
    EXPECT_EQ(disk::open_handles(), 0);
}
