// Every call of a piece of work fails in turn, every byte is the one at which a read, a write or the disk
// ends.
#include "cl/file/text_convert.hpp"
#include "cl/file/uni_file.hpp"
#include "fakes/fake_clock.hpp"
#include "fakes/fake_file.hpp"

#include <gtest/gtest.h>

namespace {

using fakes::disk;
using fakes::file_op;

const std::wstring source_path = L"C:\\data\\source.ini";

// About 9 KB in each encoding, with lines that cross the buffer's end.
std::vector<std::wstring> sample_lines() {
    std::vector<std::wstring> lines;
    for (std::size_t i = 0; i < 60; ++i)
        lines.push_back(std::wstring(i * 13 % 90, static_cast<wchar_t>('a' + i % 26)) + L"\u00E4\u20AC");
    return lines;
}

// What a rewrite of a text file does: read it line by line into a temporary file, copy that over it, read it
// again. True if every result was good.
struct rewrite {
    std::uint32_t error = 0; // the last error of either file

    bool operator()(std::uint32_t encoding, std::vector<std::wstring>& read_back) {
        bool good = true;
        const auto check = [&](bool result) { return good = result && good; };
        cl::uni_file source, temp;
        std::wstring line;
        if (check(source.open_as(source_path, 0x8122, encoding, 32)) &&
            check(temp.open_temp(L"C:\\data\\ini", 0x8022, nullptr))) {
            check(temp.set_encoding(source.encoding, false) && temp.write_bom() && temp.set_end());
            while (source.read_line(line))
                check(temp.write_line(line + L"+"));
            check(source.last_error == 0 && temp.sync());
            check(good && temp.copy_to(source, true) && temp.close());
            for (source.seek(0, 0); source.read_line(line);)
                read_back.push_back(line);
            check(source.last_error == 0 && source.close());
        }
        error = temp.last_error ? temp.last_error : source.last_error;
        return good;
    }
};

class file_fault : public testing::TestWithParam<std::uint32_t> {
protected:
    std::vector<std::wstring> lines = sample_lines();
    std::string before, after;

    file_fault() {
        before = build(L"");
        after = build(L"+");
    }
    ~file_fault() override { disk::reset(); }

    // The sample's bytes with a text at the end of each line.
    std::string build(const std::wstring& tail) {
        disk::reset();
        cl::uni_file file;
        EXPECT_TRUE(file.open_as(source_path, 0x102, GetParam(), 16));
        for (const std::wstring& line : lines)
            EXPECT_TRUE(file.write_line(line + tail));
        EXPECT_TRUE(file.close());
        return disk::bytes(source_path);
    }
    // Runs the rewrite with a fault in place. Whatever happens, no handle stays open, no temporary file is
    // left, and either the result tells of the fault or the work is done.
    bool run() {
        std::vector<std::wstring> read_back;
        rewrite work;
        const bool good = work(GetParam(), read_back);
        last_error = work.error;
        EXPECT_EQ(disk::open_handles(), 0);
        EXPECT_EQ(disk::names(), std::vector<std::wstring>{source_path});
        if (good) {
            EXPECT_EQ(disk::bytes(source_path), after);
            EXPECT_EQ(read_back.size(), lines.size());
            for (std::size_t i = 0; i < std::min(read_back.size(), lines.size()); ++i)
                EXPECT_EQ(read_back[i], lines[i] + L"+");
        }
        return good;
    }
    void start() {
        disk::reset();
        disk::put(source_path, before);
    }

    std::uint32_t last_error = 0;
};

TEST_P(file_fault, each_call_fails_in_turn) {
    start();
    ASSERT_TRUE(run());
    const int calls = disk::calls();
    ASSERT_GT(calls, 30);
    for (int n = 1; n <= calls && !HasFailure(); ++n) {
        SCOPED_TRACE(n);
        start();
        disk::fail_call(n, 1117);
        run();
        EXPECT_EQ(last_error, 1117u) << "no failure leaves without its number";
    }
}

TEST_P(file_fault, a_crash_after_each_call_keeps_the_old_file_or_the_copy_begun) {
    start();
    ASSERT_TRUE(run());
    const int calls = disk::calls();
    for (int n = 0; n < calls && !HasFailure(); ++n) {
        SCOPED_TRACE(n);
        start();
        disk::crash_after(n);
        std::vector<std::wstring> read_back;
        rewrite()(GetParam(), read_back);
        disk::restart();
        EXPECT_EQ(disk::open_handles(), 0);
        EXPECT_EQ(disk::names(), std::vector<std::wstring>{source_path});
        // The new bytes up to some place, the old ones behind it.
        const std::string now = disk::bytes(source_path);
        const auto same =
            std::mismatch(now.begin(), now.end(), after.begin(), after.end()).first - now.begin();
        const std::string rest = now.substr(static_cast<std::size_t>(same));
        EXPECT_TRUE(before.size() < static_cast<std::size_t>(same)
                        ? rest.empty()
                        : rest == before.substr(static_cast<std::size_t>(same)));
    }
}

TEST_P(file_fault, disk_full_at_every_byte) {
    start();
    bool good = false;
    // What the temporary file and the longer copy take, in steps that meet every place of a unit.
    const std::size_t needed = after.size() + after.size() - before.size();
    for (std::size_t space = 0; space <= needed && !HasFailure(); space += space + 150 < needed ? 131 : 1) {
        SCOPED_TRACE(space);
        start();
        disk::set_space(space);
        good = run();
        EXPECT_EQ(good, space == needed);
        // The write that fills the disk is short and no error; the next one is.
        EXPECT_TRUE(last_error == 0 || (!good && last_error == 112)) << last_error;
    }
    EXPECT_TRUE(good);
}

// A read that ends early is the end of the file for whoever asked; nothing wrong is delivered, and the next
// one goes on.
TEST_P(file_fault, short_reads) {
    for (std::size_t n = 0; n <= before.size() && !HasFailure(); n += 1 + n / 300 * 3) {
        SCOPED_TRACE(n);
        start();
        cl::uni_file file;
        disk::cut_read(n);
        ASSERT_TRUE(file.open_as(source_path, 0, GetParam(), 64));
        disk::clear_log();
        if (file.encoding != GetParam())
            continue; // the mark itself was cut
        std::wstring line;
        std::size_t i = 0;
        while (file.read_line(line) && file.eol == 3)
            EXPECT_EQ(line, lines[i++]);
        if (i < lines.size()) {
            EXPECT_EQ(lines[i].substr(0, line.size()), line);
        }
        file.seek(0, 0);
        for (i = 0; file.read_line(line); ++i)
            ASSERT_EQ(line, lines[i]);
        EXPECT_EQ(i, lines.size());
    }
}

// A write that ends early fails what was asked; what the file holds is the start of what was written.
TEST_P(file_fault, short_writes) {
    for (std::size_t n = 0; n <= after.size() && !HasFailure(); n += 1 + n / 300 * 3) {
        SCOPED_TRACE(n);
        disk::reset();
        cl::uni_file file;
        disk::cut_write(n);
        ASSERT_TRUE(file.open_as(source_path, 0x102, GetParam(), 16));
        bool good = true;
        for (const std::wstring& line : lines)
            good = good && file.write_line(line + L"+");
        good = file.sync() && good;
        const std::string now = disk::bytes(source_path);
        if (n < file.bom_len)
            continue; // the mark itself was cut, in silence
        EXPECT_EQ(good, n >= after.size());
        EXPECT_GE(now.size(), std::min(n, after.size()));
        EXPECT_EQ(now, after.substr(0, now.size()));
    }
}

INSTANTIATE_TEST_SUITE_P(encodings, file_fault, testing::Range(0u, 6u));

TEST(file_sharing_violation, clears_after_a_while) {
    disk::reset();
    fakes::clock::reset();
    disk::put(source_path, "x");
    disk::refuse_until(source_path, 32, 300);
    cl::uni_file file;
    int tries = 0;
    while (!file.open(source_path, 0x8022, 32) && file.was_sharing_violation() && ++tries < 100)
        cl::os::sleep_ms(70);
    EXPECT_EQ(tries, 5);
    EXPECT_TRUE(file.is_open());
    file.close();
    const int holder = disk::hold(source_path, cl::os::access_read, cl::os::share_read);
    EXPECT_FALSE(file.open(source_path, 0x8022, 32));
    EXPECT_TRUE(file.was_sharing_violation());
    EXPECT_TRUE(file.open(source_path, 0x8020, 32));
    disk::release(holder);
    EXPECT_TRUE(file.open(source_path, 0x8022, 32));
}

} // namespace
