#include "cl/file/file_hnd.hpp"

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

TEST_F(file_hnd_test, open_and_its_failures) {
    cl::file_hnd file;
    EXPECT_FALSE(file.close());
    const struct {
        std::uint32_t flags, share, error;
    } refused[] = {{3, 64, ~0u}, {0x40, 64, ~0u}, {0, 0, ~0u}, {0, 65, ~0u}, {0, 64, 2}};
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
    EXPECT_EQ(file.read(&c, 1), -1);
    EXPECT_EQ(file.last_error, 0u);
    EXPECT_EQ(file.write(&c, 1), 1);
    EXPECT_EQ(file.write(&c, -1), 0);
    EXPECT_EQ(file.seek(0, 0), 0);
    EXPECT_TRUE(file.put_char('y')) << "there is no append mode in the handle";
    EXPECT_TRUE(file.put_char(L'\0')) << "it converts to no byte";
    EXPECT_EQ(file.seek(-5, 0), -1);
    EXPECT_EQ(file.last_error, 131u);
    EXPECT_EQ(disk::bytes(path), "ybcx");
    EXPECT_FALSE(file.open(path, 3, 64));
    EXPECT_EQ(disk::open_handles(), 0) << "a refused open has closed the old file";
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

    cl::file_stream stream;
    ASSERT_TRUE(stream.open(path, 0, 64));
    EXPECT_EQ(stream.write("x", 1), -1);
    EXPECT_EQ(stream.write("x", 0), 0);
    ASSERT_TRUE(stream.open(path, 1, 64));
    EXPECT_EQ(stream.read(&c, 1), -1);
    EXPECT_EQ(stream.read(&c, -5), 0);
    EXPECT_EQ(stream.last_error, 0u);
}

TEST_F(file_hnd_test, temporary_files_and_generators) {
    cl::name_rng.seed(714025ull * 312500 + 5);
    const std::uint64_t first = std::uint64_t{(5 * 4096 + 150889) % 714025} * 312500 + 66037;
    std::wstring expected = L".tmp";
    for (std::uint64_t rest = first; rest; rest /= 36)
        expected.insert(expected.begin(), L"0123456789abcdefghijklmnopqrstuvwxyz"[rest % 36]);
    expected.insert(0, L"C:\\data\\ini");
    std::wstring name;
    {
        cl::uni_file file;
        ASSERT_TRUE(file.open_temp(L"C:\\data\\ini", 0x8022, &name));
        EXPECT_EQ(name, expected);
        cl::file_hnd other;
        EXPECT_FALSE(other.open(name, 0, 0x140));
        EXPECT_TRUE(other.was_sharing_violation());
    }
    EXPECT_FALSE(disk::exists(expected));

    cl::file_hnd file;
    cl::name_rng.seed(714025ull * 312500 + 5);
    disk::put(expected, "");
    ASSERT_TRUE(file.open_temp(L"C:\\data\\ini", 2, nullptr)) << "a name that is taken is passed over";
    disk::clear_log();
    disk::fail_call(1, 5, file_op::open);
    EXPECT_FALSE(file.open_temp(L"C:\\data\\ini", 2, &name)) << "any other error ends it";
    EXPECT_EQ(disk::calls(file_op::open), 1);
    disk::crash_after(0, 80);
    EXPECT_FALSE(file.open_temp(L"C:\\data\\ini", 2, &name));
    EXPECT_EQ(disk::calls(file_op::open), 10001);
    EXPECT_EQ(name, expected);

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
        std::uint64_t time, year, month, day, hour, minute, second, ms;
    } rows[] = {
        {0, 1601, 1, 1, 0, 0, 0, 0},
        {134117966450060000 + 9999, 2026, 1, 2, 3, 4, 5, 6},
        {133537247999990000, 2024, 2, 29, 23, 59, 59, 999},
        {0x7FFF35F4F06C58F0, 30827, 12, 31, 23, 59, 59, 999},
    };
    cl::packed_time packed = 0, utc = 0, local = 0, failed = 77;
    for (const auto& row : rows) {
        ASSERT_TRUE(cl::pack_file_time(row.time, packed));
        EXPECT_EQ(packed, row.year << 52 | row.month << 48 | row.day << 43 | row.hour << 38 |
                              row.minute << 32 | row.second << 26 | row.ms << 16);
    }
    EXPECT_FALSE(cl::pack_file_time(0x8000000000000000, failed));
    disk::put(path, "x");
    disk::set_utc_offset_minutes(90);
    disk::set_write_time(path, 134117966450060000);
    const int holder = disk::hold(path, cl::os::access_write, cl::os::share_read);
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
