#include "cl/log/trace_rig.hpp"

#include <gtest/gtest.h>

using namespace cl;
using fakes::disk;

namespace {

const std::string stamp = "235907-042 ";

} // namespace

TEST(file_trace, stamps_follow_the_formats) {
    const struct {
        const char* name;
        stamp_format format;
        bool with_time;
        std::string stamp;
    } rows[] = {
        {"the library's own", {"%02?%02?%02?", "'%03?", " ", ""}, true, "235907'042 "},
        {"a prefix", {"%?:%?:%?", ".%?", " - ", "vfl "}, true, "23:59:7.42 - vfl "},
        {"a prefix alone", {"%?", ".%?", " - ", "vfl "}, false, "vfl "},
        {"cut in the separator",
         {"%023?%?", "%?", "0123", "vfl "},
         true,
         std::string(21, '0') + "235974201" + "2"},
        {"cut in the time", {"%040?%?", "%?", "0123456789", "vfl "}, true, std::string(31, '0')},
        {"cut in the prefix",
         {"%?", "", "", "0123456789012345678901234567890xyz"},
         false,
         "0123456789012345678901234567890"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const clean_system clean;
        default_stamp_format = row.format;
        file_trace trace(nullptr); // without a timer each text is flushed
        trace.set_stamps(row.with_time, true);
        trace.set_path(L"log");
        trace.write(L"\u00FC\n", true); // wide text comes as UTF-8
        EXPECT_EQ(disk::bytes(L"log"), row.stamp + "\xC3\xBC\r\n");
        EXPECT_FALSE(trace.is_async());
    }
}

TEST(file_trace, a_log_that_cannot_be_renamed_is_deleted) {
    trace_rig<> r;
    r.trace.set_path(r.path);
    r.trace.set_old_path(r.old_path, 0);
    const auto log = [&](const char* text) {
        r.trace.write(text, true);
        r.trace.flush(true);
    };
    const int holder = disk::hold(r.old_path, os::access_read, os::share_read);
    log("a\n");
    EXPECT_FALSE(disk::exists(r.path));
    disk::release(holder);
    log("b\n");
    EXPECT_EQ(r.old_log(), stamp + "b\r\n");
    // A log that can be neither renamed nor deleted is continued.
    disk::hold(r.path, os::access_read, os::share_read | os::share_write);
    log("c\n");
    log("d\n");
    EXPECT_EQ(r.log(), stamp + "c\r\n" + stamp + "d\r\n");
    // A timer that has ended is none, and a destructor writes what is left.
    EXPECT_TRUE(r.trace.is_async());
    r.host.shut_down();
    r.trace.write("e\n", true);
    EXPECT_TRUE(r.log().ends_with("e\r\n"));
    {
        file_trace destroyed(nullptr);
        destroyed.write("f\n", true);
        destroyed.set_path(L"third");
    }
    EXPECT_EQ(disk::bytes(L"third"), stamp + "f\r\n");
}

// Every call of a flush with rotation fails once; all text gets to the disk in the end, but for what a rename
// that fails is allowed to delete.
TEST(file_trace, a_failure_at_any_call_loses_nothing) {
    bool failed = true;
    for (int n = 1; failed; ++n) {
        SCOPED_TRACE(n);
        trace_rig<> r;
        r.trace.set_path(r.path);
        r.trace.set_old_path(r.old_path, 1000);
        std::string whole = std::string(999, 'x');
        disk::put(r.path, whole);
        r.trace.write("a\n", true);
        disk::clear_log();
        disk::fail_call(n, 31);
        r.pass_time(1001);
        failed = false;
        whole += stamp + "a\r\n";
        for (const fakes::file_call& call : disk::log()) {
            failed = failed || call.error == 31;
            if (call.op == fakes::file_op::rename && call.error == 31)
                whole.clear();
        }
        disk::clear_faults();
        EXPECT_EQ(disk::open_handles(), 0);
        r.trace.write("b\n", true);
        r.pass_time(1001);
        EXPECT_EQ(r.old_log() + r.log(), whole + stamp + "b\r\n");
    }
}
