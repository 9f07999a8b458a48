#include "cl/file/file_hnd.hpp"

#include "cl/file/file_stream.hpp"
#include "cl/file/file_time.hpp"
#include "cl/file/random_gen.hpp"
#include "cl/file/uni_file.hpp"
#include "fakes/fake_file.hpp"

#include <gtest/gtest.h>

namespace {

using fakes::disk;
using fakes::file_op;

struct file_hnd_test : testing::Test {
    const std::wstring path = L"C:\\data\\a.txt";
    file_hnd_test() { disk::reset(); }
};

// The line reader of the root, of the buffer, and of text in the ANSI code page through it.
TEST_F(file_hnd_test, lines_and_their_ends) {
    struct line {
        std::string text;
        int eol;
    };
    const struct {
        std::string content;
        std::vector<line> lines;
    } rows[] = {
        {"", {}},
        {"a\nb", {{"a", 1}, {"b", 0}}},
        {"a\r\nb\rc\n\n", {{"a", 3}, {"b", 2}, {"c", 1}, {"", 1}}},
        {"\r\r\r\n\n\r", {{"", 2}, {"", 2}, {"", 3}, {"", 1}, {"", 2}}},
        {"x\r", {{"x", 2}}},
        {std::string("a\0b\n\0", 5), {{std::string("a\0b", 3), 1}, {std::string("\0", 1), 0}}},
        {std::string(5000, 'x') + "\r\n" + std::string(4096, 'y') + "\r" + std::string(4095, 'z') + "\r\n",
         {{std::string(5000, 'x'), 3}, {std::string(4096, 'y'), 2}, {std::string(4095, 'z'), 3}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.content.substr(0, 20)));
        disk::put(path, row.content);
        const auto check = [&](cl::file_hnd& file, bool wide) {
            ASSERT_TRUE(file.open(path, 0x8000, 64));
            for (const line& expected : row.lines) {
                std::string narrow;
                std::wstring text;
                ASSERT_TRUE(wide ? file.read_line(text) : file.read_line(narrow));
                EXPECT_EQ(wide ? std::string(text.begin(), text.end()) : narrow, expected.text);
                EXPECT_EQ(file.eol, expected.eol);
            }
            std::string rest = "old";
            EXPECT_FALSE(file.read_line(rest));
            EXPECT_EQ(rest, "");
            EXPECT_EQ(file.eol, 0);
        };
        for (const bool wide : {false, true}) {
            cl::file_hnd plain;
            check(plain, wide);
            cl::file_stream stream;
            check(stream, wide);
            cl::uni_file text;
            check(text, wide);
        }
    }
}

TEST_F(file_hnd_test, open_and_its_failures) {
    cl::file_hnd file;
    EXPECT_FALSE(file.is_open());
    EXPECT_FALSE(file.close());
    const struct {
        std::uint32_t flags, share, error;
    } refused[] = {{3, 64, ~0u}, {0x40, 64, ~0u}, {0, 0, ~0u}, {0, 65, ~0u}, {0, 100, ~0u}, {0, 64, 2}};
    for (const auto& row : refused) {
        EXPECT_FALSE(file.open(path, row.flags, row.share));
        EXPECT_EQ(file.last_error, row.error);
        EXPECT_EQ(file.was_not_found(), row.error == 2);
    }
    EXPECT_EQ(disk::calls(), 1) << "what is refused for its arguments never reaches the system";

    char c = 'x';
    disk::put(path, "abc");
    ASSERT_TRUE(file.open(path, 0x8 | 1, 32));
    EXPECT_EQ(file.last_error, 0u);
    EXPECT_EQ(file.tell(), 3) << "append starts at the end";
    EXPECT_EQ(file.size(), 3);
    EXPECT_EQ(file.read(&c, 1), -1);
    EXPECT_EQ(file.last_error, 0u);
    EXPECT_EQ(file.write(&c, 1), 1);
    EXPECT_EQ(file.write(&c, -1), 0);
    EXPECT_EQ(file.seek(0, 0), 0);
    EXPECT_TRUE(file.put_char('y')) << "there is no append mode in the handle";
    EXPECT_EQ(file.seek(-5, 0), -1);
    EXPECT_EQ(file.last_error, 131u);
    EXPECT_EQ(disk::bytes(path), "ybcx");
    EXPECT_EQ(disk::open_handles(), 1);
    EXPECT_FALSE(file.open(path, 3, 64));
    EXPECT_EQ(disk::open_handles(), 0) << "a refused open has closed the old file";
    EXPECT_EQ(file.read(&c, 1), -1);
    EXPECT_EQ(file.write(&c, 1), -1) << "mode is that of before, the handle is invalid";
    EXPECT_EQ(file.last_error, 6u);

    disk::refuse(path, 32, 2);
    EXPECT_FALSE(file.open(path, 0, 32));
    EXPECT_TRUE(file.was_sharing_violation());
    EXPECT_FALSE(file.open(path, 0, 32));
    EXPECT_TRUE(file.open(path, 0, 32)) << "it has cleared";
    EXPECT_FALSE(file.was_sharing_violation());
    EXPECT_EQ(file.write(&c, 1), -1);
    EXPECT_EQ(file.last_error, 0u);
    disk::fail_call(1, 6, file_op::close);
    EXPECT_FALSE(file.close());
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(file.last_error, 6u);
}

TEST_F(file_hnd_test, temporary_files) {
    cl::name_rng.seed(714025ull * 312500 + 5);
    const std::uint64_t first = std::uint64_t{(5 * 4096 + 150889) % 714025} * 312500 + 66037;
    std::string digits;
    for (std::uint64_t rest = first; rest; rest /= 36)
        digits.insert(digits.begin(), "0123456789abcdefghijklmnopqrstuvwxyz"[rest % 36]);
    const std::wstring expected = L"C:\\data\\ini" + std::wstring(digits.begin(), digits.end()) + L".tmp";
    {
        cl::uni_file file;
        std::wstring name;
        ASSERT_TRUE(file.open_temp(L"C:\\data\\ini", 0x8022, &name));
        EXPECT_EQ(name, expected);
        cl::file_hnd other;
        EXPECT_FALSE(other.open(name, 0, 0x140));
        EXPECT_TRUE(other.was_sharing_violation());
    }
    EXPECT_FALSE(disk::exists(expected));

    cl::file_hnd file;
    std::wstring name = L"kept";
    cl::name_rng.seed(714025ull * 312500 + 5);
    disk::put(expected, "");
    ASSERT_TRUE(file.open_temp(L"C:\\data\\ini", 2, nullptr)) << "a name that is taken is passed over";
    disk::clear_log();
    disk::fail_call(1, 5, file_op::open);
    EXPECT_FALSE(file.open_temp(L"C:\\data\\ini", 2, &name)) << "any other error ends it";
    EXPECT_EQ(disk::calls(file_op::open), 1);
    EXPECT_EQ(name, L"kept");
    disk::crash_after(0, 80);
    EXPECT_FALSE(file.open_temp(L"C:\\data\\ini", 2, &name));
    EXPECT_EQ(disk::calls(file_op::open), 10001);
}

TEST_F(file_hnd_test, generators) {
    cl::backoff_rng.seed(714025);
    EXPECT_EQ(cl::backoff_rng.next(), 150889u);
    EXPECT_EQ(cl::backoff_rng.next(), (150889ull * 4096 + 150889) % 714025);
    // The quotient 2^32 + 7 is cut to 7.
    cl::name_rng.seed(((std::uint64_t{1} << 32) + 7) * 714025 + 714024);
    EXPECT_EQ(cl::name_rng.next(),
              (714024ull * 4096 + 150889) % 714025 * 312500 + (7 * 741 + 66037) % 312500);
}

TEST_F(file_hnd_test, packed_write_time) {
    const struct {
        std::uint64_t time;
        bool taken;
        int year, month, day, hour, minute, second, ms;
    } rows[] = {
        {0, true, 1601, 1, 1, 0, 0, 0, 0},
        {134117966450060000 + 9999, true, 2026, 1, 2, 3, 4, 5, 6},
        {133537247999990000, true, 2024, 2, 29, 23, 59, 59, 999},
        {0x7FFF35F4F06C58F0, true, 30827, 12, 31, 23, 59, 59, 999},
        {0x8000000000000000, false, 0, 0, 0, 0, 0, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.time);
        cl::packed_time packed = 77;
        ASSERT_EQ(cl::pack_file_time(row.time, packed), row.taken);
        const std::uint64_t high = static_cast<std::uint32_t>(row.year << 20 | row.month << 16 |
                                                              row.day << 11 | row.hour << 6 | row.minute);
        const auto low = static_cast<std::uint32_t>(row.second) << 26 | static_cast<std::uint32_t>(row.ms)
                                                                            << 16;
        EXPECT_EQ(packed, row.taken ? high << 32 | low : 77);
    }
    disk::put(path, "x");
    disk::set_utc_offset_minutes(90);
    disk::set_write_time(path, 134117966450060000);
    const int holder = disk::hold(path, cl::os::access_write, cl::os::share_read);
    cl::packed_time utc = 0, local = 0, failed = 77;
    EXPECT_TRUE(cl::file_write_time(path.c_str(), utc, true)) << "a writer doesn't keep it from reading";
    EXPECT_TRUE(cl::file_write_time(path.c_str(), local, false));
    EXPECT_EQ(local - utc, (std::uint64_t{1} << 6 | 30) << 32);
    disk::release(holder);
    EXPECT_FALSE(cl::file_write_time(L"C:\\none", failed, true));
    disk::fail_call(2, 5);
    EXPECT_FALSE(cl::file_write_time(path.c_str(), failed, true));
    EXPECT_EQ(failed, 77u);
    EXPECT_EQ(disk::open_handles(), 0);
}

} // namespace
