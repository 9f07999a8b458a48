// A process that is killed at any moment of a flush leaves no temporary file, and a settings file that is the
// old one, the new one, or the copy between them broken off: the start of the new one and what stands behind
// it of the old one. VFL_STRESS_SECONDS sets the time of a soak.
#include "cl/file/uni_file.hpp"
#include "cl/ini/cached_ini.hpp"
#include "cl/time/passive_timer.hpp"
#include "temp_folder.hpp"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <windows.h>

namespace {

constexpr const wchar_t* path_variable = L"VFL_KILL_TEST_PATH";

// The texts of the file follow each other with lengths that go up and down.
std::vector<std::wstring> lines_of(int turn) {
    std::vector<std::wstring> lines;
    for (int i = 0; i < 15000 + turn % 3 * 1000; ++i)
        lines.push_back(L"key " + std::to_wstring(i) + L"=" + std::to_wstring(turn));
    return lines;
}
std::string text_of(int turn) {
    std::string text = "[a]\r\n";
    for (const std::wstring& line : lines_of(turn))
        text += std::string(line.begin(), line.end()) + "\r\n";
    return text;
}

std::string bytes_of(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string first_bytes(const std::filesystem::path& path) {
    char bytes[24];
    std::ifstream file(path, std::ios::binary);
    file.read(bytes, sizeof bytes);
    return {bytes, static_cast<std::size_t>(file.gcount())};
}

bool is_broken_off_copy(const std::string& bytes, const std::string& new_text, const std::string& old_text) {
    const auto same = std::mismatch(bytes.begin(), bytes.end(), new_text.begin(), new_text.end());
    const auto n = static_cast<std::size_t>(same.first - bytes.begin());
    // What follows is the old text, from that byte on; they may have some bytes around it in common.
    return n == bytes.size() || (bytes.size() == std::max(old_text.size(), n) && n <= old_text.size() &&
                                 bytes.substr(n) == old_text.substr(n));
}

TEST(ini_killed_process, DISABLED_serve) {
    const wchar_t* const path = _wgetenv(path_variable);
    ASSERT_NE(path, nullptr);
    cl::passive_timer timer("killed");
    cl::cached_ini ini(timer);
    ini.set_file(path, false);
    std::wstring value = L"0";
    ini.get_value(L"a", L"key 0", value);
    for (int turn = std::stoi(value) + 1;; ++turn) {
        ini.write_section(L"a", lines_of(turn));
        if (!ini.flush())
            std::_Exit(1);
    }
}

TEST(ini_kill, leaves_at_most_a_copy_that_broke_off) {
    const temp_folder folder;
    const std::filesystem::path path = folder.folder / L"global.ini";
    SetEnvironmentVariableW(path_variable, path.c_str());
    wchar_t program[MAX_PATH];
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring command = L"\"" + std::wstring(program) +
                                 L"\" --gtest_also_run_disabled_tests --gtest_filter=ini_killed_process.*";
    const char* const seconds = std::getenv("VFL_STRESS_SECONDS");
    const DWORD limit_ms = seconds ? static_cast<DWORD>(std::atoi(seconds)) * 1000 : 3000;
    int kills = 0, cut_short = 0;
    std::ofstream(path, std::ios::binary) << text_of(0);
    for (const DWORD begin = GetTickCount(); GetTickCount() - begin < limit_ms; ++kills) {
        STARTUPINFOW start{};
        start.cb = sizeof start;
        start.dwFlags = STARTF_USESTDHANDLES; // none
        PROCESS_INFORMATION process{};
        std::wstring line = command;
        ASSERT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                                   &process));
        // The first block of a copy has just been written; the other half of the kills come at any time.
        const std::string begun = first_bytes(path);
        while (first_bytes(path) == begun && WaitForSingleObject(process.hProcess, 0) == WAIT_TIMEOUT) {
        }
        if (kills % 2)
            Sleep(static_cast<DWORD>(std::rand() % 50));
        EXPECT_TRUE(TerminateProcess(process.hProcess, 9));
        WaitForSingleObject(process.hProcess, INFINITE);
        DWORD code = 0;
        GetExitCodeProcess(process.hProcess, &code);
        EXPECT_EQ(code, 9U);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);

        const auto files = std::distance(std::filesystem::directory_iterator(folder.folder), {});
        EXPECT_EQ(files, 1) << "a temporary file is left";
        const std::string bytes = bytes_of(path);
        // "[a]", "key 0=" and the turn
        const int turn = bytes.size() > 16 ? std::atoi(bytes.c_str() + 11) : 0;
        if (bytes != text_of(turn)) {
            ++cut_short;
            ASSERT_TRUE(is_broken_off_copy(bytes, text_of(turn), text_of(turn - 1)))
                << "turn " << turn << ", " << bytes.size() << " bytes, " << bytes.substr(0, 64);
        }
        std::ofstream(path, std::ios::binary | std::ios::trunc) << text_of(turn);
    }
    SetEnvironmentVariableW(path_variable, nullptr);
    EXPECT_GT(kills, 1);
    std::printf("%d kills, %d within a copy\n", kills, cut_short);
}

// How long the copy over the source takes: the time in which a crash cuts the file short.
TEST(ini_kill, length_of_the_copy) {
    for (const std::size_t size : {10'000u, 100'000u, 1'000'000u}) {
        const temp_folder folder;
        cl::ini_file file;
        file.set_file(folder / L"global.ini", true);
        const std::wstring line(98, L'x');
        std::vector<double> times;
        for (int run = 0; run < 5; ++run) {
            cl::uni_file source, temp;
            ASSERT_TRUE(file.open_ini(source, false, true) && file.make_temp(source, temp, nullptr));
            for (std::size_t written = 0; written < size; written += 100)
                temp.write_line(line);
            const auto begin = std::chrono::steady_clock::now();
            ASSERT_TRUE(file.copy_back(temp, source));
            times.push_back(
                std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count());
        }
        std::sort(times.begin(), times.end());
        std::printf("%zu bytes are copied in %.0f us (median of 5)\n", size, times[2]);
        EXPECT_EQ(std::filesystem::file_size(folder.folder / L"global.ini"), size + 3);
    }
}

} // namespace
