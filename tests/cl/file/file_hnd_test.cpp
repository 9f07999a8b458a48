// What file_hnd and file_stream report, temporary files, generators and stamps.
#include "cl/file/file_time.hpp"
#include "cl/file/random_gen.hpp"
#include "cl/file/uni_file.hpp"
#include "fakes/disk.hpp"

#include <gtest/gtest.h>

namespace {

using fakes::disk;
using fakes::file_op;

struct file_hnd_test : testing::Test {
    std::wstring path;
    file_hnd_test() {
        disk::reset();
        path = L"a.txt";
    }
};

TEST_F(file_hnd_test, open_and_its_failures) {
    cl::file_hnd file;
    EXPECT_FALSE(file.close());
    constexpr std::uint32_t no_words = cl::file_hnd::refused_arguments;
    const struct {
        std::uint32_t flags, share, error;
    } refused[] = {{cl::open_access_mask, cl::share_deny_none, no_words},
                   {cl::open_temporary, cl::share_deny_none, no_words},
                   {cl::open_read, 0, no_words},
                   {cl::open_read, 65, no_words},
                   {cl::open_read, cl::share_deny_none, cl::os::error_not_found}};
    for (const auto& row : refused) {
        EXPECT_FALSE(file.open(path, row.flags, row.share));
        EXPECT_EQ(file.last_error, row.error);
        EXPECT_EQ(file.was_not_found(), row.error == cl::os::error_not_found);
    }
    EXPECT_EQ(disk::calls(), 1) << "what is refused for its arguments never reaches the system";

    char c = 'x';
    disk::put(path, "abc");
    ASSERT_TRUE(file.open(path, cl::open_append | cl::open_write, cl::share_deny_write));
    EXPECT_EQ(file.tell(), 3) << "append starts at the end";
    EXPECT_EQ(file.read(&c, 1), -1);
    EXPECT_EQ(file.last_error, 0u);
    EXPECT_EQ(file.write(&c, 1), 1);
    EXPECT_EQ(file.write(&c, -1), 0);
    EXPECT_EQ(file.seek(0, cl::os::from_start), 0);
    EXPECT_TRUE(file.put_char('y')) << "there is no append mode in the handle";
    EXPECT_TRUE(file.put_char(L'\0')) << "it converts to no byte";
    EXPECT_EQ(file.seek(-5, cl::os::from_start), -1);
    EXPECT_EQ(file.last_error, cl::os::error_negative_seek);
    EXPECT_EQ(disk::bytes(path), "ybcx");
    EXPECT_FALSE(file.open(path, cl::open_access_mask, cl::share_deny_none));
    EXPECT_EQ(disk::open_handles(), 0) << "a refused open has closed the old file";
    EXPECT_EQ(file.write(&c, 1), -1) << "mode is that of before, the handle is invalid";
    EXPECT_EQ(file.last_error, cl::os::error_invalid_handle);

    disk::refuse(path, cl::os::error_sharing, 1);
    EXPECT_FALSE(file.open(path, cl::open_read, cl::share_deny_write));
    EXPECT_TRUE(file.was_sharing_violation());
    EXPECT_TRUE(file.open(path, cl::open_read, cl::share_deny_write)) << "it has cleared";
    EXPECT_EQ(file.write(&c, 1), -1);
    EXPECT_TRUE(!file.was_sharing_violation() && file.last_error == 0);
    disk::fail_call(1, cl::os::error_invalid_handle, file_op::close);
    EXPECT_FALSE(file.close());
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(file.last_error, cl::os::error_invalid_handle);

    disk::reset();
    disk::put(path, "abc");
    cl::file_stream stream;
    ASSERT_TRUE(stream.open(path, cl::open_read, cl::share_deny_none));
    EXPECT_TRUE(stream.write("x", 1) == -1 && stream.write("x", 0) == 0);
    ASSERT_TRUE(stream.open(path, cl::open_write, cl::share_deny_none));
    EXPECT_TRUE(stream.read(&c, 1) == -1 && stream.read(&c, -5) == 0 && stream.last_error == 0);
}

TEST_F(file_hnd_test, temporary_files_and_generators) {
    constexpr std::uint64_t seed = 714025ull * 312500 + 5;
    cl::name_rng.seed(seed);
    std::wstring expected = L".tmp";
    for (std::uint64_t rest = (5 * 4096 + 150889) % 714025 * 312500ull + 66037; rest; rest /= 36)
        expected.insert(expected.begin(), L"0123456789abcdefghijklmnopqrstuvwxyz"[rest % 36]);
    expected.insert(0, L"ini");
    std::wstring name;
    {
        cl::uni_file file;
        ASSERT_TRUE(file.open_temp(L"ini", cl::open_read_write, &name));
        EXPECT_EQ(name, expected);
        cl::file_hnd other;
        EXPECT_FALSE(other.open(name, cl::open_read, cl::share_deny_none | cl::share_allow_delete));
        EXPECT_TRUE(other.was_sharing_violation());
    }
    EXPECT_FALSE(disk::exists(expected));

    cl::file_hnd file;
    cl::name_rng.seed(seed);
    disk::put(expected, "");
    ASSERT_TRUE(file.open_temp(L"ini", cl::open_read_write, nullptr))
        << "a name that is taken is passed over";
    disk::clear_log();
    disk::fail_call(1, cl::os::error_access_denied, file_op::open);
    EXPECT_FALSE(file.open_temp(L"ini", cl::open_read_write, &name)) << "any other error ends it";
    EXPECT_EQ(disk::calls(file_op::open), 1);
    disk::crash_after(0, cl::os::error_exists);
    EXPECT_FALSE(file.open_temp(L"ini", cl::open_read_write, &name));
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
    const std::uint64_t rows[][8] = {
        {0, 1601, 1, 1, 0, 0, 0, 0},
        {134117966450060000 + 9999, 2026, 1, 2, 3, 4, 5, 6},
        {133537247999990000, 2024, 2, 29, 23, 59, 59, 999},
        {0x7FFF35F4F06C58F0, 30827, 12, 31, 23, 59, 59, 999},
    };
    cl::packed_time packed = 0, utc = 0, local = 0, failed = 77;
    for (const auto& [time, year, month, day, hour, minute, second, ms] : rows) {
        ASSERT_TRUE(cl::pack_file_time(time, packed));
        EXPECT_EQ(packed,
                  year << 52 | month << 48 | day << 43 | hour << 38 | minute << 32 | second << 26 | ms << 16);
    }
    EXPECT_FALSE(cl::pack_file_time(0x8000000000000000, failed));
    disk::put(path, "x");
    disk::set_utc_offset_minutes(90);
    disk::set_write_time(path, 134117966450060000);
    const auto holder = disk::hold(path, cl::os::access_write, cl::os::share_read);
    EXPECT_TRUE(cl::file_write_time(path.c_str(), utc, true)) << "a writer doesn't keep it from reading";
    EXPECT_TRUE(cl::file_write_time(path.c_str(), local, false));
    EXPECT_EQ(local - utc, (std::uint64_t{1} << 6 | 30) << 32);
    disk::release(holder);
    EXPECT_FALSE(cl::file_write_time(L"none", failed, true));
    disk::fail_call(2, cl::os::error_access_denied);
    EXPECT_FALSE(cl::file_write_time(path.c_str(), failed, true));
    EXPECT_EQ(failed, 77u);
    EXPECT_EQ(disk::open_handles(), 0);
}

} // namespace
