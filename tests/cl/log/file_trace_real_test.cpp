// The log on a real disk, beside others who hold its files.
#include "cl/log/file_trace.hpp"
#include "cl/os/file.hpp"
#include "temp_folder.hpp"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

namespace fs = std::filesystem;
using namespace cl;

namespace {

std::string bytes(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

struct file_trace_real : testing::Test {
    file_trace_real() {
        trace.set_stamps(false, false);
        trace.set_path(log.wstring());
        trace.set_buffer(0x20000, 0x20000, 0x20000, true); // nothing is flushed before its time
    }
    void say(const std::string& text) {
        trace.write((text + "\n").c_str(), true);
        trace.flush(true);
    }
    static os::file_handle hold(const fs::path& file, std::uint32_t access, std::uint32_t share) {
        os::file_handle held = os::invalid_file;
        const os::file_request request{access, share, os::file_disposition::open_always, 0, false};
        EXPECT_EQ(os::open_file(file.wstring().c_str(), request, held), 0u);
        return held;
    }
    temp_folder folder;
    const fs::path log = folder.folder / "trace.txt", old = folder.folder / "trace_old.txt";
    passive_timer host{"test"};
    file_trace trace{&host};
};

constexpr std::uint32_t share_all = os::share_read | os::share_write | os::share_delete;

} // namespace

TEST_F(file_trace_real, another_holds_the_log) {
    const struct {
        const char* name;
        std::uint32_t access, share;
        bool blocks;
    } rows[] = {
        {"a reader that shares all", os::access_read, share_all, false},
        {"a reader that shares reading", os::access_read, os::share_read, true},
        {"a writer that shares all", os::access_write, share_all, true},
        {"nothing shared", os::access_read, 0, true},
    };
    std::string expected;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const os::file_handle held = hold(log, row.access, row.share);
        say(row.name);
        const std::string line = std::string(row.name) + "\r\n";
        if (row.share != 0) { // who shares nothing keeps the test out, too
            EXPECT_EQ(bytes(log), expected + (row.blocks ? "" : line));
        }
        os::close_file(held);
        expected += line;
        trace.flush(true);
        EXPECT_EQ(bytes(log), expected);
    }
}

// Both generations survive, and the reader keeps the file that it has.
TEST_F(file_trace_real, a_reader_of_the_old_log_during_rotations) {
    std::ofstream(old, std::ios::binary) << "first";
    trace.set_old_path(old.wstring(), 0);
    const os::file_handle held = hold(old, os::access_read, share_all);
    for (const char* text : {"a", "b", "c"}) {
        say(text);
        EXPECT_EQ(bytes(old), std::string(text) + "\r\n");
    }
    char first[5] = {};
    std::uint32_t n = 0;
    EXPECT_EQ(os::read_file(held, first, sizeof first, n), 0u);
    EXPECT_EQ(std::string(first, n), "first");
    os::close_file(held);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.folder), {}), 1); // nothing is left beside it
}

TEST_F(file_trace_real, the_log_is_deleted_or_its_place_taken) {
    say("a");
    EXPECT_TRUE(fs::remove(log)); // no handle is open between two flushes
    fs::create_directory(log);    // as good as a folder that can't be written to
    say("b");
    fs::remove(log);
    say("c");
    EXPECT_EQ(bytes(log), "b\r\nc\r\n");
}
