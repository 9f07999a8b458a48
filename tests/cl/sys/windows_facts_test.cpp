// The record of the system that the test runs on, against what Windows tells by other ways.
#include "cl/sys/os_info.hpp"
#include "this_program.hpp"

#include <filesystem>
#include <windows.h>

namespace {

TEST(os_facts, agree_with_the_system) {
    const cl::os_facts facts = cl::read_os_facts();
    EXPECT_EQ(facts.platform_id, 2u);
    EXPECT_EQ(facts.real.major, facts.shown.major);
    EXPECT_EQ(facts.real.build, 0xF0000000 | facts.shown.build);
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
    const std::string copy = (std::filesystem::temp_directory_path() / "vfl_version_test.exe").string();
    std::filesystem::copy_file(testing::internal::GetArgvs()[0], copy,
                               std::filesystem::copy_options::overwrite_existing);
    const wchar_t* const key = L"Software\\Wine\\AppDefaults\\vfl_version_test.exe";
    const std::pair<std::wstring, int> rows[] = {
        {L"winxp64", 502}, {L"win2008", 0x40000 | 600}, {L"win7", 0x20000 | 601}, {L"win10", 0x20000 | 1000}};
    for (const auto& [name, result] : rows) {
        ASSERT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, key, L"Version", REG_SZ, name.c_str(),
                                  static_cast<DWORD>(2 * (name.size() + 1))),
                  0);
        EXPECT_EQ(this_program("*in_another_process", copy).end(), result) << testing::PrintToString(name);
    }
    RegDeleteTreeW(HKEY_CURRENT_USER, key);
    std::filesystem::remove(copy);
}

} // namespace
