// Every call of a piece of work fails in turn, every byte is the one at which a read, a write or the disk
// ends.
#include "cl/file/uni_file.hpp"
#include "fakes/fake_file.hpp"

#include <gtest/gtest.h>

namespace {

using fakes::disk;

const std::wstring source_path = L"C:\\data\\source.ini";

// For each encoding, about 9 KB with lines that cross the buffer's end.
class file_fault : public testing::TestWithParam<std::uint32_t> {
protected:
    std::vector<std::wstring> lines;
    std::string before, after; // `after` with more at the end of each line
    std::uint32_t last_error = 0;

    file_fault() {
        for (std::size_t i = 0; i < 60; ++i)
            lines.push_back(std::wstring(i * 13 % 90, static_cast<wchar_t>('a' + i % 26)) + L"\u00E4\u20AC");
        before = build(L"", 1 << 20);
        after = build(L"+", 1 << 20);
    }
    ~file_fault() override { disk::reset(); }

    // The sample's bytes with a text at the end of each line, where the write at `cut` is short. Begins with
    // "cut " where the file told of it.
    std::string build(const std::wstring& tail, std::size_t cut) {
        disk::reset();
        disk::cut_write(cut);
        cl::uni_file file;
        EXPECT_TRUE(file.open_as(source_path, 0x102, GetParam(), 16));
        bool good = true;
        for (const std::wstring& line : lines)
            good = good && file.write_line(line + tail);
        good = file.sync() && good;
        return good ? disk::bytes(source_path) : "cut " + disk::bytes(source_path);
    }
    void start() {
        disk::reset();
        disk::put(source_path, before);
    }
    // What a rewrite of a text file does: read it line by line into a temporary file, copy that over it, read
    // it again. Whatever happens, no handle stays open, no temporary file is left, and either the result
    // tells of the fault or the work is done.
    bool rewrite() {
        bool good = true;
        const auto check = [&](bool result) { return good = result && good; };
        std::vector<std::wstring> read_back;
        {
            cl::uni_file source, temp;
            std::wstring line;
            if (check(source.open_as(source_path, 0x8122, GetParam(), 32)) &&
                check(temp.open_temp(L"C:\\data\\ini", 0x8022, nullptr))) {
                check(temp.set_encoding(source.encoding, false) && temp.write_bom() && temp.set_end());
                while (source.read_line(line))
                    check(temp.write_line(line + L"+"));
                check(source.last_error == 0 && temp.sync());
                check(good && temp.copy_to(source, true) && temp.close());
                for (source.seek(0, 0); source.read_line(line);)
                    read_back.push_back(line.substr(0, line.size() - 1));
                check(source.last_error == 0 && source.close());
            }
            last_error = temp.last_error ? temp.last_error : source.last_error;
        }
        EXPECT_EQ(disk::open_handles(), 0);
        EXPECT_EQ(disk::names(), std::vector<std::wstring>{source_path});
        EXPECT_TRUE(!good || (disk::bytes(source_path) == after && read_back == lines));
        return good;
    }
};

TEST_P(file_fault, each_call_fails_in_turn) {
    start();
    ASSERT_TRUE(rewrite());
    const int calls = disk::calls();
    ASSERT_GT(calls, 30);
    for (int n = 1; n <= calls && !HasFailure(); ++n) {
        SCOPED_TRACE(n);
        start();
        disk::fail_call(n, 1117);
        rewrite();
        EXPECT_EQ(last_error, 1117u) << "no failure leaves without its number";
    }
}

TEST_P(file_fault, disk_full_at_every_byte) {
    // What the temporary file and the longer copy take, in steps that meet every place of a unit.
    const std::size_t needed = after.size() + after.size() - before.size();
    for (std::size_t space = 0; space <= needed && !HasFailure(); space += space + 150 < needed ? 131 : 1) {
        SCOPED_TRACE(space);
        start();
        disk::set_space(space);
        EXPECT_EQ(rewrite(), space == needed);
        // The write that fills the disk is short and no error; the next one is.
        EXPECT_TRUE(last_error == 0 || (space != needed && last_error == 112)) << last_error;
    }
}

// A read that ends early is the end of the file for whoever asked; nothing wrong is delivered, and the next
// one goes on. What a write that ends early leaves is the start of what was written.
TEST_P(file_fault, short_reads_and_writes) {
    for (std::size_t n = 0; n <= after.size() && !HasFailure(); n += 1 + n / 300 * 3) {
        SCOPED_TRACE(n);
        const std::string written = build(L"+", n);
        if (n < cl::byte_order_mark(GetParam()).size())
            continue; // the mark itself is cut, in silence
        EXPECT_TRUE(n >= after.size() ? written == after : ("cut " + after).starts_with(written));
        EXPECT_GE(written.size(), std::min(n + 4, after.size()));
        start();
        cl::uni_file file;
        disk::cut_read(n);
        ASSERT_TRUE(file.open_as(source_path, 0, GetParam(), 64));
        disk::clear_log();
        ASSERT_EQ(file.encoding, GetParam());
        std::wstring line;
        std::size_t i = 0;
        while (file.read_line(line) && file.eol == 3)
            EXPECT_EQ(line, lines[i++]);
        EXPECT_TRUE(i == lines.size() || lines[i].starts_with(line));
        file.seek(0, 0);
        for (i = 0; file.read_line(line); ++i)
            ASSERT_EQ(line, lines[i]);
        EXPECT_EQ(i, lines.size());
    }
}

INSTANTIATE_TEST_SUITE_P(encodings, file_fault, testing::Range(0u, 6u));

// What a sync can't write is lost: a cut and a copy go on without it.
TEST(file_stream, failed_sync) {
    disk::reset();
    disk::put(source_path, "0123456789");
    cl::uni_file file, other;
    ASSERT_TRUE(file.open_as(source_path, 0x02, cl::encoding_ansi, 64) &&
                other.open_as(L"C:\\other", 0x102, cl::encoding_ansi, 64));
    file.seek(4, 0);
    file.write("ab", 2);
    disk::fail_call(1, 1117, fakes::file_op::write);
    EXPECT_FALSE(file.set_end());
    EXPECT_EQ(disk::bytes(source_path), "0123");
    other.write("lost", 4);
    disk::fail_call(1, 1117, fakes::file_op::write);
    EXPECT_TRUE(file.copy_to(other, true));
    EXPECT_EQ(disk::bytes(L"C:\\other"), "0123");
}

} // namespace
