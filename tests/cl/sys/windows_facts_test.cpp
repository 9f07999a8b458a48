// The record of the system that the test runs on, against what Windows tells by other ways.
#include "cl/sys/os_info.hpp"
#include "other_process.hpp"

#include <filesystem>
#include <gtest/gtest.h>
#include <windows.h>

namespace {

TEST(os_facts, agree_with_the_system) {
    const cl::os_facts facts = cl::read_os_facts();
    EXPECT_EQ(facts.platform_id, 2u);
    EXPECT_EQ(facts.real.major, facts.shown.major);
    EXPECT_EQ(facts.real.build & 0xFFFF, facts.shown.build);
    EXPECT_EQ(facts.real.build >> 28, 0xFu);
    SYSTEM_INFO system;
    GetSystemInfo(&system);
    EXPECT_EQ(facts.processors, system.dwNumberOfProcessors);
    EXPECT_EQ(facts.page_size, 4096u);

    wchar_t name[200] = {};
    DWORD size = sizeof name;
    ASSERT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion",
                           L"ProductName", RRF_RT_REG_SZ, nullptr, name, &size),
              0);
    EXPECT_EQ(facts.product_name, name);

    cl::fill_os_info(facts);
    EXPECT_GE(cl::os_info.version, 601u);
    EXPECT_FALSE(cl::os_info.product.empty());
    EXPECT_NE(cl::os_info.description.find(cl::os_info.product), std::wstring::npos);
}

// Runs in a process of its own, whose exit code tells what the record holds.
TEST(os_facts, DISABLED_in_another_process) {
    const cl::os_record os = cl::make_os_record(cl::read_os_facts());
    ExitProcess(os.version | (os.version_masked ? 0x10000u : 0) | (os.at_least_601 ? 0x20000u : 0) |
                (os.edition == L" Server 2008" ? 0x40000u : 0));
}

// Wine takes the version that it shows to a program from the program's name.
TEST(os_facts, under_other_versions_of_windows) {
    if (!GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version"))
        GTEST_SKIP() << "the version of this system can't be chosen";
    namespace fs = std::filesystem;
    const fs::path copy = fs::temp_directory_path() / L"vfl_version_test.exe";
    fs::copy_file(other_process::path_of_this(), copy, fs::copy_options::overwrite_existing);
    const wchar_t* const key = L"Software\\Wine\\AppDefaults\\vfl_version_test.exe";

    struct row {
        const wchar_t* name;
        DWORD result;
    };
    const row rows[] = {
        {L"winxp64", 502},          {L"vista", 600},          {L"win2008", 0x40000 | 600},
        {L"win7", 0x20000 | 601},   {L"win8", 0x20000 | 602}, {L"win81", 0x20000 | 603},
        {L"win10", 0x20000 | 1000},
    };
    for (const row& r : rows) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(r.name)));
        ASSERT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, key, L"Version", REG_SZ, r.name,
                                  static_cast<DWORD>(2 * (wcslen(r.name) + 1))),
                  0);
        const DWORD result = other_process("*in_another_process", copy).exit_code();
        EXPECT_EQ(result, r.result) << std::hex << result;
    }
    RegDeleteTreeW(HKEY_CURRENT_USER, key);
    fs::remove(copy);
}

} // namespace
