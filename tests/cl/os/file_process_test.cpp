// Files that two processes use at once. The other process is this executable again, in the test that is
// disabled otherwise; it takes its orders from its standard input and leaves its answers in a file.
#include "cl/os/file.hpp"
#include "temp_folder.hpp"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <iterator>
#include <vector>

namespace {

using namespace cl::os;
constexpr std::uint32_t share_all = share_read | share_write | share_delete;

// The first line is the path for the answers. Each further line is an order: the access word, the share word
// and the path of an open; the answer is its error. Ends with its input.
TEST(os_file_other_process, DISABLED_serve) {
    std::string answers, path;
    std::getline(std::cin, answers);
    std::ofstream out(answers);
    std::uint32_t access = 0, share = 0;
    while (std::cin >> access >> share && std::cin.get() && std::getline(std::cin, path)) {
        file_handle file;
        const std::wstring wide(path.begin(), path.end());
        const file_request request{access, share, file_disposition::open_existing, 0, false};
        out << open_file(wide.c_str(), request, file) << '\n';
        if (file != invalid_file)
            close_file(file);
    }
    out.close();
    std::_Exit(0); // prints nothing that could be taken for a result
}

struct os_file_processes : testing::Test {
    temp_folder folder;

    FILE* start_other() const {
        const std::string command =
            '"' + testing::internal::GetArgvs()[0] +
            "\" --gtest_also_run_disabled_tests --gtest_filter=os_file_other_process.*" VFL_QUIET;
        FILE* other = VFL_POPEN(command.c_str(), "w");
        EXPECT_NE(other, nullptr);
        std::fprintf(other, "%s\n", (folder.folder / "answers").string().c_str());
        return other;
    }
    std::uint32_t open(const std::string& name, std::uint32_t access, std::uint32_t share, bool inheritable,
                       file_handle& file) const {
        const std::wstring path = folder / std::wstring(name.begin(), name.end());
        return open_file(path.c_str(), {access, share, file_disposition::open_always, 0, inheritable}, file);
    }
};

TEST_F(os_file_processes, share_modes) {
    std::vector<file_handle> holders;
    std::vector<std::uint32_t> expected;
    FILE* other = start_other();
    for (const std::uint32_t held : {access_read, access_write})
        for (const std::uint32_t held_share : {0u, share_read, share_write, share_all}) {
            const std::string name = std::to_string(holders.size());
            ASSERT_EQ(open(name, held, held_share, false, holders.emplace_back()), 0u);
            for (const std::uint32_t wanted : {access_read, access_write, access_read | access_write})
                for (std::uint32_t share = 0; share <= share_all; ++share) {
                    std::fprintf(other, "%u %u %s\n", static_cast<unsigned>(wanted),
                                 static_cast<unsigned>(share), (folder.folder / name).string().c_str());
                    const bool fits = !((wanted & access_read) && !(held_share & share_read)) &&
                                      !((wanted & access_write) && !(held_share & share_write)) &&
                                      (share & (held == access_read ? share_read : share_write));
                    expected.push_back(fits ? 0 : error_sharing);
                }
        }
    VFL_PCLOSE(other);
    std::ifstream answers(folder.folder / "answers");
    EXPECT_EQ(std::vector<std::uint32_t>(std::istream_iterator<std::uint32_t>(answers), {}), expected);
    for (const file_handle holder : holders)
        close_file(holder);
}

TEST_F(os_file_processes, an_inheritable_handle_lives_on_in_a_child) {
    for (const bool inheritable : {false, true}) {
        SCOPED_TRACE(inheritable);
        file_handle file;
        ASSERT_EQ(open("a", access_read, 0, inheritable, file), 0u);
        FILE* other = start_other();
        EXPECT_EQ(close_file(file), 0u);
        EXPECT_EQ(open("a", access_read, share_all, false, file), inheritable ? error_sharing : 0u);
        if (file != invalid_file)
            close_file(file);
        VFL_PCLOSE(other);
        EXPECT_EQ(open("a", access_read, 0, false, file), 0u);
        close_file(file);
    }
}

TEST(os_file_real, errors_of_paths_and_disks) {
    const temp_folder folder;
    const struct {
        std::wstring path;
        std::uint32_t error;
    } rows[] = {
        {folder / L"none", error_not_found},
        {folder / L"none\\none", error_path_not_found},
        {folder.folder.wstring(), error_access_denied},
        {folder / L"a<b", error_invalid_name},
        {folder / L"a?b", error_invalid_name},
    };
    for (const auto& row : rows) {
        file_handle file;
        EXPECT_EQ(
            open_file(row.path.c_str(),
                      {access_read | access_write, share_all, file_disposition::open_existing, 0, false},
                      file),
            row.error);
        EXPECT_EQ(file, invalid_file);
    }
}

} // namespace
