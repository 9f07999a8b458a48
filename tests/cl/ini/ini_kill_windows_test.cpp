// A process that is killed at any moment of a flush leaves no temporary file, and a settings file that is the
// old one, the new one, or the copy between them broken off: the start of the new one and what comes after it
// of the old one, or all of the new one and the blanks that a shorter text has put over the old end, which
// are about to be cut off. The process is this executable again, and kills itself.
#include "cl/ini/cached_ini.hpp"
#include "cl/time/passive_timer.hpp"
#include "temp_folder.hpp"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <process.h>
#include <random>
#include <thread>
#include <windows.h>

namespace {

constexpr const wchar_t* path_variable = L"VFL_KILL_TEST_PATH";
constexpr const wchar_t* delay_variable = L"VFL_KILL_TEST_DELAY";

// The texts of the file follow each other with lengths that go up and down.
std::vector<std::wstring> lines_of(int turn) {
    return std::vector<std::wstring>(static_cast<std::size_t>(15000 + turn % 3 * 1000),
                                     L"key=" + std::to_wstring(turn));
}
std::string text_of(int turn) {
    std::string text = "[a]\r\n";
    for (const std::wstring& line : lines_of(turn))
        text += std::string(line.begin(), line.end()) + "\r\n";
    return text;
}

TEST(ini_killed_process, DISABLED_serve) {
    cl::passive_timer timer("killed");
    cl::cached_ini ini(timer);
    ini.set_file(_wgetenv(path_variable), false);
    std::thread([delay = static_cast<DWORD>(_wtoi(_wgetenv(delay_variable)))] {
        Sleep(delay);
        TerminateProcess(GetCurrentProcess(), 9);
    }).detach();
    for (int turn = 1; ini.write_section(L"a", lines_of(turn)) && ini.flush(); ++turn) {
    }
}

TEST(ini_kill, leaves_at_most_a_copy_that_broke_off) {
    const temp_folder folder;
    const std::filesystem::path path = folder.folder / L"global.ini";
    _wputenv_s(path_variable, path.c_str());
    wchar_t program[MAX_PATH];
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    for (int kill = 0; kill < 8; ++kill) {
        // The delays need not be the same in each run, only be known when one fails.
        const unsigned delay = std::random_device()() % 60;
        SCOPED_TRACE(testing::Message() << "killed after " << delay << " ms");
        _wputenv_s(delay_variable, std::to_wstring(delay).c_str());
        std::ofstream(path, std::ios::binary | std::ios::trunc) << text_of(0);
        EXPECT_EQ(_wspawnl(_P_WAIT, program, L"killed", L"--gtest_also_run_disabled_tests",
                           L"--gtest_filter=ini_killed_process.*", nullptr),
                  9);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.folder), {}), 1);
        std::ifstream file(path, std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        ASSERT_GT(bytes.size(), 20U);
        const int turn = std::atoi(bytes.c_str() + 9); // after "[a]" and "key="
        const std::string text = text_of(turn), old = text_of(turn - 1);
        const auto same = std::mismatch(bytes.begin(), bytes.end(), text.begin(), text.end());
        const auto n = static_cast<std::size_t>(same.first - bytes.begin());
        const bool only_to_be_cut = n == text.size() && bytes.find_first_not_of(" \r\n", n) == bytes.npos;
        EXPECT_TRUE(n == bytes.size() || only_to_be_cut ||
                    (n <= old.size() && bytes.substr(n) == old.substr(n)))
            << "turn " << turn << ", " << n << " of " << bytes.size() << " bytes";
    }
}

} // namespace
