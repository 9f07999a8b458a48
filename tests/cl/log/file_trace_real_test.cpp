// The log on a real disk, beside other processes. The other process is this executable again, in the test
// that is disabled otherwise.
#include "cl/log/file_trace.hpp"
#include "cl/os/file.hpp"
#include "cl/time/event.hpp"
#include "temp_folder.hpp"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <iterator>
#include <string>

namespace fs = std::filesystem;
using namespace cl;

namespace {

std::string bytes(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// Holds the file of the second line with the access and share words of the third, makes the file of the first
// when it does, and ends with its input.
TEST(file_trace_other_process, DISABLED_hold) {
    std::string ready, path;
    std::uint32_t access = 0, share = 0;
    std::getline(std::cin, ready);
    std::getline(std::cin, path);
    std::cin >> access >> share;
    os::file_handle file;
    const os::file_request request{access, share, os::file_disposition::open_always, 0, false};
    if (os::open_file(std::wstring(path.begin(), path.end()).c_str(), request, file) == 0)
        std::ofstream(ready).put('1');
    while (std::cin.get() != EOF) {
    }
    std::_Exit(0);
}

struct file_trace_real : testing::Test {
    file_trace_real() {
        trace.set_stamps(false, false);
        trace.set_path(folder / L"trace.txt");
        trace.set_buffer(0x20000, 0x20000, 0x20000, true); // nothing is flushed ahead of its time
    }
    temp_folder folder;
    const fs::path log = folder.folder / "trace.txt";
    passive_timer host{"test"};
    file_trace trace{&host};
};

} // namespace

TEST_F(file_trace_real, another_process_holds_the_log) {
    const struct {
        const char* name;
        std::uint32_t access, share;
        bool blocks;
    } rows[] = {
        {"a reader that shares all", os::access_read, os::share_read | os::share_write, false},
        {"a reader that shares reading", os::access_read, os::share_read, true},
        {"a writer that shares all", os::access_write, os::share_read | os::share_write, true},
        {"nothing shared", os::access_read, 0, true},
    };
    std::string expected;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const fs::path ready = folder.folder / "ready";
        const std::string command = '"' + testing::internal::GetArgvs()[0] +
                                    "\" --gtest_also_run_disabled_tests "
                                    "--gtest_filter=file_trace_other_process.*" VFL_QUIET;
        FILE* other = VFL_POPEN(command.c_str(), "w");
        ASSERT_NE(other, nullptr);
        std::fprintf(other, "%s\n%s\n%u %u\n", ready.string().c_str(), log.string().c_str(),
                     static_cast<unsigned>(row.access), static_cast<unsigned>(row.share));
        std::fflush(other);
        // Nothing but the disk tells what the other process has done.
        event never;
        for (int i = 0; i < 2000 && !fs::exists(ready); ++i)
            never.wait(5);
        EXPECT_TRUE(fs::exists(ready));
        // The other's end closes its handle; the trace holds what it was given meanwhile.
        std::string meanwhile;
        for (int i = 0; i < 500; ++i) {
            const std::string line = row.name + std::to_string(i);
            trace.write((line + "\n").c_str(), true);
            meanwhile += line + "\r\n";
        }
        trace.flush(true);
        VFL_PCLOSE(other);
        EXPECT_EQ(bytes(log), expected + (row.blocks ? "" : meanwhile));
        expected += meanwhile;
        trace.flush(true);
        EXPECT_EQ(bytes(log), expected);
        fs::remove(ready);
    }
}

TEST_F(file_trace_real, the_log_is_deleted_or_its_place_taken) {
    trace.write("a\n", true);
    trace.flush(true);
    EXPECT_TRUE(fs::remove(log)); // no handle is open between two flushes
    trace.write("b\n", true);
    trace.flush(true);
    EXPECT_EQ(bytes(log), "b\r\n");
    fs::remove(log);
    fs::create_directory(log); // as good as a folder that can't be written to: error 5
    trace.write("c\n", true);
    trace.flush(true);
    fs::remove(log);
    trace.write("d\n", true);
    trace.flush(true);
    EXPECT_EQ(bytes(log), "c\r\nd\r\n");

    trace.set_old_path(folder / L"trace_old.txt", 5);
    trace.write("e\n", true);
    trace.flush(true);
    trace.write("f\n", true);
    trace.flush(true);
    EXPECT_EQ(bytes(folder.folder / "trace_old.txt"), "c\r\nd\r\ne\r\n");
    EXPECT_EQ(bytes(log), "f\r\n");
}
