// What the disk in memory doesn't have: other processes, folders and names that the system refuses.
#include "cl/os/file.hpp"
#include "temp_folder.hpp"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

using namespace cl::os;
constexpr std::uint32_t share_all = share_read | share_write | share_delete;

// The other process is this executable again, in this test. It ends with its input, and prints nothing that
// could be taken for a result.
TEST(os_file_other_process, DISABLED_wait) {
    while (std::getchar() != EOF) {
    }
    std::_Exit(0);
}

TEST(os_file_real, an_inheritable_handle_lives_on_in_a_child) {
    const temp_folder folder;
    const std::wstring path = folder / L"a";
    for (const bool inheritable : {false, true}) {
        SCOPED_TRACE(inheritable);
        file_handle file;
        const auto open = [&](std::uint32_t share) {
            return open_file(path.c_str(),
                             {access_read, share, file_disposition::open_always, 0, inheritable}, file);
        };
        ASSERT_EQ(open(0), 0u);
        const std::string command =
            '"' + testing::internal::GetArgvs()[0] +
            "\" --gtest_also_run_disabled_tests --gtest_filter=os_file_other_process.*" VFL_QUIET;
        FILE* const other = VFL_POPEN(command.c_str(), "w");
        ASSERT_NE(other, nullptr);
        EXPECT_EQ(close_file(file), 0u);
        EXPECT_EQ(open(share_all), inheritable ? error_sharing : 0u);
        if (file != invalid_file)
            close_file(file);
        VFL_PCLOSE(other);
        EXPECT_EQ(open(0), 0u);
        close_file(file);
    }
}

TEST(os_file_real, errors_of_paths_and_disks) {
    const temp_folder folder;
    const std::pair<std::wstring, std::uint32_t> rows[] = {{folder / L"none", error_not_found},
                                                           {folder / L"none\\none", error_path_not_found},
                                                           {folder.folder.wstring(), error_access_denied},
                                                           {folder / L"a<b", error_invalid_name},
                                                           {folder / L"a?b", error_invalid_name}};
    for (const auto& [path, error] : rows) {
        file_handle file;
        EXPECT_EQ(
            open_file(path.c_str(),
                      {access_read | access_write, share_all, file_disposition::open_existing, 0, false},
                      file),
            error);
        EXPECT_EQ(file, invalid_file);
    }
}

} // namespace
