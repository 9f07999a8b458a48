#include "cl/log/trace_rig.hpp"
#include "cl/os/error.hpp"

#include <gtest/gtest.h>

using namespace cl;
using fakes::disk;
using fakes::file_op;

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

// What a reader holds across three rotations, each after one line.
TEST(file_trace, a_rotation_beside_a_reader) {
    using namespace cl::os;
    constexpr std::uint32_t all = share_read | share_write | share_delete;
    const std::string a = stamp + "a\r\n";
    const struct {
        const char* name;
        bool of_old;
        std::uint32_t share;
        std::string old, log;
    } rows[] = {
        {"nobody", true, ~0u, a, ""},
        {"of the old log, sharing all", true, all, a, ""},
        {"of the old log, without deletion", true, share_read, "old", ""}, // and so the log is deleted
        {"of the log, without deletion", false, share_read | share_write, "old", a + a + a},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        trace_rig<> r;
        r.trace.set_path(r.path);
        r.trace.set_old_path(r.old_path, 0);
        disk::put(r.old_path, "old");
        disk::put(r.path, "");
        if (row.share != ~0u)
            disk::hold(row.of_old ? r.old_path : r.path, access_read, row.share);
        for (int i = 0; i < 3; ++i) {
            r.trace.write("a\n", true);
            r.trace.flush(true);
        }
        EXPECT_EQ(r.old_log(), row.old);
        EXPECT_EQ(r.log(), row.log);
    }
}

// A file that is known to fail costs a writer nothing until the retry time, and loses nothing meanwhile.
TEST(file_trace, a_file_that_fails) {
    for (const bool full : {false, true}) {
        SCOPED_TRACE(full);
        trace_rig<> r;
        r.trace.set_path(r.path);
        r.trace.set_buffer(0x1000, 0x100000, 0x1000, true);
        full ? disk::set_space(0) : disk::refuse(r.path, os::error_sharing);
        std::string whole;
        for (int i = 0; i < 1000; ++i) {
            const std::string line = std::to_string(i) + std::string(100, '.');
            r.trace.write((line + "\n").c_str(), true);
            whole += stamp + line + "\r\n";
        }
        EXPECT_EQ(disk::calls(file_op::open), 1);
        r.pass_time(999);
        EXPECT_EQ(disk::calls(file_op::open), 1);
        r.pass_time(2);
        EXPECT_EQ(disk::calls(file_op::open), 2);
        disk::clear_faults();
        r.pass_time(1000);
        EXPECT_EQ(r.log(), whole);
    }
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
        std::string whole = std::string(999, 'x'), old = "old";
        disk::put(r.path, whole);
        disk::put(r.old_path, old);
        r.trace.write("a\n", true);
        disk::clear_log();
        disk::fail_call(n, os::error_gen_failure);
        r.pass_time(1001);
        failed = false;
        whole += stamp + "a\r\n";
        for (const fakes::file_call& call : disk::log()) {
            const bool here = call.error == os::error_gen_failure;
            failed = failed || here;
            if (here && call.op == file_op::rename && call.path == r.path)
                whole = old;
        }
        disk::clear_faults();
        EXPECT_EQ(disk::open_handles(), 0);
        r.trace.write("b\n", true);
        r.pass_time(1001);
        const std::string left = r.old_log() + r.log();
        EXPECT_TRUE(left == whole + stamp + "b\r\n" || left == old + whole + stamp + "b\r\n") << left;
    }
}

TEST(file_trace, without_a_timer_every_text_is_flushed) {
    trace_rig<> r;
    r.trace.set_path(r.path);
    EXPECT_TRUE(r.trace.is_async());
    r.host.shut_down(); // a timer that has ended is none
    r.trace.write("a\n", true);
    EXPECT_EQ(r.log(), stamp + "a\r\n");
    {
        file_trace destroyed(nullptr);
        destroyed.write("b\n", true);
        destroyed.set_path(L"third");
    } // its destructor writes what is left
    EXPECT_EQ(disk::bytes(L"third"), stamp + "b\r\n");
}
