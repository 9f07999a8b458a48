// The rules of cl/os/file.hpp. Built into both executables: the real files and the disk in memory must agree.
#include "cl/os/file.hpp"
#include "temp_folder.hpp"

#include <gtest/gtest.h>
#include <set>

namespace {

using namespace cl::os;
constexpr std::uint32_t share_all = share_read | share_write | share_delete;
constexpr std::uint32_t read_write = access_read | access_write;

struct os_file : testing::Test {
    temp_folder folder;
    std::wstring path = folder / L"a.txt";
    file_handle file = invalid_file;

    std::uint32_t open(std::uint32_t access, std::uint32_t share,
                       file_disposition how = file_disposition::open_existing, std::uint32_t attributes = 0) {
        return open_file(path.c_str(), {access, share, how, attributes, false}, file);
    }
    std::uint32_t try_open(std::uint32_t access, std::uint32_t share,
                           file_disposition how = file_disposition::open_existing) {
        const std::uint32_t error = open(access, share, how);
        EXPECT_EQ(file == invalid_file, error != 0);
        EXPECT_EQ(error ? 0 : close_file(file), 0u);
        return error;
    }
    void make(const std::string& bytes) {
        ASSERT_EQ(open(access_write, 0, file_disposition::create_always), 0u);
        std::uint32_t count = 0;
        EXPECT_EQ(write_file(file, bytes.data(), static_cast<std::uint32_t>(bytes.size()), count), 0u);
        EXPECT_EQ(count, bytes.size());
        EXPECT_EQ(close_file(file), 0u);
    }
    // -1 where the file can't be opened.
    std::int64_t size() {
        std::int64_t n = -1;
        if (open(access_read, share_all) == 0) {
            EXPECT_EQ(file_size(file, n), 0u);
            close_file(file);
        }
        return n;
    }
    ~os_file() override { remove_file(path.c_str()); }
};

TEST_F(os_file, every_pair_of_access_and_share) {
    make("abc");
    const std::uint32_t accesses[] = {access_read, access_write, read_write, access_read | access_delete};
    const auto rights = [](std::uint32_t access) {
        return (access & access_read ? share_read : 0) | (access & access_write ? share_write : 0) |
               (access & access_delete ? share_delete : 0);
    };
    for (const std::uint32_t held : accesses)
        for (std::uint32_t held_share = 0; held_share <= share_all; ++held_share) {
            ASSERT_EQ(open(held, held_share), 0u);
            const file_handle holder = file;
            for (const std::uint32_t wanted : accesses)
                for (std::uint32_t share = 0; share <= share_all; ++share) {
                    const bool fits = !(rights(wanted) & ~held_share) && !(rights(held) & ~share);
                    EXPECT_EQ(try_open(wanted, share), fits ? 0u : error_sharing)
                        << std::hex << held << ' ' << held_share << ' ' << wanted << ' ' << share;
                }
            if (!(held_share & share_delete)) {
                EXPECT_EQ(remove_file(path.c_str()), error_sharing);
                EXPECT_EQ(rename_file(path.c_str(), (folder / L"b.txt").c_str()), error_sharing);
            }
            if (!(held_share & share_write)) {
                EXPECT_EQ(try_open(access_write, share_all, file_disposition::create_always), error_sharing);
                EXPECT_EQ(size(), held_share & share_read ? 3 : -1) << "a refused open empties nothing";
            }
            EXPECT_EQ(close_file(holder), 0u);
        }
}

TEST_F(os_file, dispositions_and_error_numbers) {
    const struct {
        file_disposition how;
        std::uint32_t missing, there;
        std::int64_t size;
    } rows[] = {
        {file_disposition::create_new, 0, error_exists, 3},
        {file_disposition::create_always, 0, 0, 0},
        {file_disposition::open_existing, error_not_found, 0, 3},
        {file_disposition::open_always, 0, 0, 3},
        {file_disposition::truncate_existing, error_not_found, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(static_cast<int>(row.how));
        remove_file(path.c_str());
        EXPECT_EQ(try_open(access_write, 0, row.how), row.missing);
        EXPECT_EQ(size(), row.missing ? -1 : 0);
        make("abc");
        EXPECT_EQ(try_open(access_write, 0, row.how), row.there);
        EXPECT_EQ(size(), row.size);
    }
    EXPECT_EQ(rename_file((folder / L"none").c_str(), path.c_str()), error_not_found);
    std::uint32_t count = 7;
    std::int64_t n = 0;
    std::uint64_t time = 0;
    char c = 0;
    EXPECT_EQ((std::set{read_file(invalid_file, &c, 1, count), write_file(invalid_file, &c, 1, count),
                        seek_file(invalid_file, 0, 0, n), set_end_of_file(invalid_file),
                        file_size(invalid_file, n), last_write_time(invalid_file, time)}),
              std::set{error_invalid_handle});
    EXPECT_EQ(count, 0u);
    path.clear();
    EXPECT_EQ(try_open(access_read, share_all), error_path_not_found);
}

TEST_F(os_file, positions_size_and_rights) {
    make("0123456789");
    ASSERT_EQ(open(read_write, share_read, file_disposition::open_existing, write_through), 0u);
    const struct {
        std::int64_t offset;
        std::uint32_t origin, error;
        std::int64_t position;
    } rows[] = {
        {4, 0, 0, 4},
        {-1, 1, 0, 3},
        {-4, 1, error_negative_seek, 3},
        {-2, 2, 0, 8},
        {0xFFFFFFFF, 0, 0, 0xFFFFFFFF},
        {1, 1, 0, 0x100000000},
        {-1, 0, error_negative_seek, 0x100000000},
        {0, 9, error_invalid_parameter, 0x100000000},
        {12, 0, 0, 12},
    };
    std::int64_t position = 0, n = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.offset << " from " << row.origin);
        EXPECT_EQ(seek_file(file, row.offset, row.origin, position), row.error);
        EXPECT_EQ(position, row.position);
    }
    char buf[16];
    std::uint32_t count = 9;
    EXPECT_EQ(read_file(file, buf, 16, count), 0u) << "beyond the end there is nothing, and that is no error";
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(set_end_of_file(file), 0u);
    EXPECT_EQ(file_size(file, n), 0u);
    EXPECT_EQ(n, 12);
    seek_file(file, 8, 0, position);
    EXPECT_EQ(read_file(file, buf, 16, count), 0u);
    EXPECT_EQ(std::string(buf, count), std::string("89\0\0", 4));
    EXPECT_EQ(close_file(file), 0u);

    ASSERT_EQ(open(access_read, share_all), 0u);
    EXPECT_EQ(write_file(file, "x", 1, count), error_access_denied);
    EXPECT_NE(set_end_of_file(file), 0u);
    close_file(file);
    ASSERT_EQ(open(access_write, share_all), 0u);
    EXPECT_EQ(read_file(file, buf, 1, count), error_access_denied);
    close_file(file);
}

TEST_F(os_file, names_times_and_delete_on_close) {
    ASSERT_EQ(open(read_write | access_delete, share_all, file_disposition::create_new, delete_on_close), 0u);
    const file_handle holder = file;
    EXPECT_EQ(try_open(access_read, share_read | share_write), error_sharing);
    EXPECT_EQ(size(), 0);
    EXPECT_EQ(close_file(holder), 0u);
    EXPECT_EQ(try_open(access_read, share_all), error_not_found);

    // Names beyond ASCII and beyond 16 bits.
    const std::wstring plain = path, named = folder / std::wstring{L'\u00E4', L'\u4E2D', 0xD83D, 0xDE00};
    make("abc");
    EXPECT_EQ(rename_file(plain.c_str(), named.c_str()), 0u);
    EXPECT_EQ(size(), -1);
    make("x");
    EXPECT_EQ(rename_file(plain.c_str(), named.c_str()), error_already_exists);
    EXPECT_EQ(size(), 1);
    path = named;
    EXPECT_EQ(size(), 3);

    std::uint64_t time = 0, local = 0;
    ASSERT_EQ(open(access_read, share_all), 0u);
    EXPECT_EQ(last_write_time(file, time), 0u);
    close_file(file);
    EXPECT_GT(time, 130000000000000000u) << "after 2012";
    EXPECT_EQ(to_local_file_time(time, local), 0u);
    EXPECT_LE(std::abs(static_cast<std::int64_t>(local - time)), 14 * 36000000000);
    EXPECT_EQ((local - time) % 600000000, 0u) << "whole minutes";
    EXPECT_EQ(remove_file(path.c_str()), 0u);
    EXPECT_EQ(remove_file(path.c_str()), error_not_found);
    path = plain;
}

} // namespace
