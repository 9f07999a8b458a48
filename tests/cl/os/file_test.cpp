// The rules of cl/os/file.hpp and the code pages: both systems must agree on them.
#include "cl/os/file.hpp"
#include "cl/os/text.hpp"
#include "temp_folder.hpp"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

using namespace cl::os;
constexpr std::uint32_t share_all = share_read | share_write | share_delete;
constexpr std::uint32_t read_write = access_read | access_write;

// A child process: this executable again. It lives until its input ends.
TEST(os_file_child, DISABLED_wait) {
    std::getchar();
    std::_Exit(0); // prints nothing that could be taken for a result
}

struct os_file : testing::Test {
    temp_folder folder;
    std::wstring path = folder / L"a.txt";
    file_handle file = invalid_file;

    std::uint32_t open(std::uint32_t access, std::uint32_t share,
                       file_disposition how = file_disposition::open_existing, std::uint32_t attributes = 0,
                       bool inheritable = false) {
        return open_file(path.c_str(), {access, share, how, attributes, inheritable}, file);
    }
    std::uint32_t try_open(std::uint32_t access, std::uint32_t share,
                           file_disposition how = file_disposition::open_existing) {
        const std::uint32_t error = open(access, share, how);
        EXPECT_EQ(file == invalid_file, error != 0);
        EXPECT_EQ(error ? 0 : close_file(file), 0u);
        return error;
    }
    void make(const std::string& bytes) {
        std::uint32_t count = 0;
        ASSERT_EQ(open(access_write, 0, file_disposition::create_always), 0u);
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

TEST_F(os_file, an_inheritable_handle_lives_on_in_a_child) {
    for (const bool inheritable : {false, true}) {
        ASSERT_EQ(open(access_read, 0, file_disposition::open_always, 0, inheritable), 0u);
        const std::string child =
            '"' + testing::internal::GetArgvs()[0] +
            "\" --gtest_also_run_disabled_tests --gtest_filter=os_file_child.*" VFL_QUIET;
        FILE* const other = VFL_POPEN(child.c_str(), "w");
        EXPECT_EQ(close_file(file), 0u);
        EXPECT_EQ(try_open(access_read, share_all), inheritable ? error_sharing : 0u);
        VFL_PCLOSE(other);
        EXPECT_EQ(try_open(access_read, 0), 0u);
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
    const std::pair<std::wstring, std::uint32_t> paths[] = {
        {folder / L"none\\none", error_path_not_found},
        {folder.folder.wstring(), error_access_denied},
        {folder / L"a<b", error_invalid_name},
        {folder / L"a?b", error_invalid_name},
        {L"", error_path_not_found},
    };
    for (const auto& [name, error] : paths) {
        path = name;
        EXPECT_EQ(try_open(read_write, share_all), error);
    }
}

TEST_F(os_file, positions_size_and_rights) {
    make("0123456789");
    ASSERT_EQ(open(read_write, share_read, file_disposition::open_existing, write_through), 0u);
    const struct {
        std::int64_t offset;
        std::uint32_t origin, error;
        std::int64_t position;
    } rows[] = {
        {4, from_start, 0, 4},
        {-1, from_position, 0, 3},
        {-4, from_position, error_negative_seek, 3},
        {-2, from_end, 0, 8},
        {0xFFFFFFFF, from_start, 0, 0xFFFFFFFF},
        {1, from_position, 0, 0x100000000},
        {0, 9, error_invalid_parameter, 0x100000000},
        {12, from_start, 0, 12},
    };
    std::int64_t position = 0, n = 0;
    for (const auto& row : rows) {
        EXPECT_EQ(seek_file(file, row.offset, row.origin, position), row.error) << row.offset;
        EXPECT_EQ(position, row.position);
    }
    char buf[16];
    std::uint32_t count = 9;
    EXPECT_EQ(read_file(file, buf, 16, count), 0u) << "beyond the end there is nothing, and that is no error";
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(set_end_of_file(file), 0u);
    EXPECT_EQ(file_size(file, n), 0u);
    EXPECT_EQ(n, 12);
    seek_file(file, 8, from_start, position);
    EXPECT_EQ(read_file(file, buf, 16, count), 0u);
    EXPECT_EQ(std::string(buf, count), std::string("89\0\0", 4));
    EXPECT_EQ(close_file(file), 0u);
    ASSERT_EQ(open(access_read, share_all), 0u);
    EXPECT_EQ(write_file(file, "x", 1, count), error_access_denied);
    EXPECT_NE(set_end_of_file(file), 0u);
    close_file(file);
    EXPECT_EQ(read_file(invalid_file, buf, 1, count), error_invalid_handle);
}

TEST_F(os_file, names_and_delete_on_close) {
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
    EXPECT_EQ(remove_file(plain.c_str()), 0u);
    EXPECT_EQ(remove_file(plain.c_str()), error_not_found);
    path = named;
    EXPECT_EQ(size(), 3);
}

TEST(os_text, both_code_pages) {
    for (int b = 1; b < 256; ++b) {
        const char byte = static_cast<char>(b);
        wchar_t wide[2] = {};
        char back[2] = {};
        EXPECT_EQ(to_utf16(0, &byte, 1, wide, 2), 1u) << b;
        EXPECT_EQ(from_utf16(0, wide, 1, back, 2), 1u) << b;
        EXPECT_EQ(back[0], byte) << b;
    }
    char bytes[3], oem[4 * 4 + 1];
    EXPECT_EQ(from_utf16(0, L"a\u20AC\u4E2D", 3, nullptr, 0), 3u);
    EXPECT_EQ(from_utf16(0, L"a\u20AC\u4E2D", 3, bytes, 2), 0u) << "too small a buffer is a failure";
    EXPECT_EQ(to_utf16(0, "", 0, nullptr, 0), 0u);
    ansi_to_oem("\xE4\xDF-", oem);
    EXPECT_STREQ(oem, "\x84\xE1-");
}

} // namespace
