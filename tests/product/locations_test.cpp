// Folders, registry and rights of the real system.
#include "product/locations.hpp"

#include "cl/sys/library_table.hpp"
#include "product/rights.hpp"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <windows.h>

namespace {

namespace fs = std::filesystem;

constexpr const wchar_t* product = L"vexaflow_unit_test";

TEST(locations, installation_folder) {
    const std::wstring path = std::wstring(L"Software\\Vexa\\") + product;
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                              nullptr),
              0);
    struct row {
        const char* name;
        DWORD type;
        std::wstring data, found; // nothing found: failure
    };
    const std::wstring zero(1, L'\0');
    const std::wstring folder_259 = L"C:\\" + std::wstring(256, L'x');
    const row rows[] = {
        {"without a backslash", REG_SZ, L"C:\\p" + zero, L"C:\\p\\"},
        {"with a backslash", REG_SZ, L"C:\\p\\" + zero, L"C:\\p\\"},
        {"unexpanded", REG_EXPAND_SZ, L"%TEMP%" + zero + zero, L"%TEMP%\\"},
        {"520 bytes", REG_SZ, folder_259 + zero, folder_259 + L"\\"},
        {"number", REG_DWORD, L"ab", L""},
        {"empty", REG_SZ, zero, L""},
    };
    for (const row& r : rows) {
        SCOPED_TRACE(r.name);
        RegSetValueExW(key, L"install_dir", 0, r.type, reinterpret_cast<const BYTE*>(r.data.data()),
                       static_cast<DWORD>(2 * r.data.size()));
        std::wstring out = L"before";
        EXPECT_EQ(vfl::read_install_dir(product, out), !r.found.empty());
        EXPECT_EQ(out, r.found.empty() ? L"before" : r.found);
    }
    RegDeleteValueW(key, L"install_dir");
    std::wstring out;
    EXPECT_FALSE(vfl::read_install_dir(product, out)) << "no value";
    RegCloseKey(key);
    RegDeleteKeyW(HKEY_LOCAL_MACHINE, path.c_str());
    EXPECT_FALSE(vfl::read_install_dir(product, out)) << "no key";
}

TEST(locations, data_folder) {
    cl::create_libraries(cl::windows_modules);
    const std::wstring all_users = vfl::known_folder_path(vfl::program_data_folder);
    wchar_t expected[MAX_PATH] = {};
    GetEnvironmentVariableW(L"ProgramData", expected, MAX_PATH);
    EXPECT_EQ(all_users, std::wstring(expected) + L"\\");
    EXPECT_EQ(vfl::known_folder_path({}), L"") << "no such folder";

    const std::wstring data = vfl::common_data_dir(product);
    EXPECT_EQ(data, all_users + L"Vexa\\" + product + L"\\");
    EXPECT_TRUE(fs::is_directory(data));
    EXPECT_EQ(vfl::common_data_dir(product), data) << "also when it exists";
    fs::remove(data);
}

TEST(locations, folders_are_created_on_the_disk) {
    const fs::path base = fs::temp_directory_path() / L"vfl_chain";
    fs::remove_all(base);
    EXPECT_TRUE(vfl::create_directory_chain((base / L"x\\y\u00E4\\").wstring()));
    EXPECT_TRUE(fs::is_directory(base / L"x\\y\u00E4"));
    EXPECT_TRUE(vfl::create_directory_chain((base / L"x\\y\u00E4").wstring())) << "exists";
    EXPECT_TRUE(vfl::create_directory_chain((base / L"x\\\\z").wstring())) << "a doubled backslash";
    EXPECT_TRUE(fs::is_directory(base / L"x\\z"));
    std::ofstream(base / L"file") << "in the way";
    EXPECT_FALSE(vfl::create_directory_chain((base / L"file\\x").wstring()));
    EXPECT_FALSE(vfl::create_directory_chain(L"\\\\no_such_server\\share\\x"));

    const fs::path before = fs::current_path();
    fs::current_path(base);
    EXPECT_TRUE(vfl::create_directory_chain(L"relative\\z"));
    EXPECT_TRUE(fs::is_directory(base / L"relative\\z"));
    fs::current_path(before);
    fs::remove_all(base);
}

// Wine takes every user for an administrator.
TEST(rights, the_user_of_the_tests_is_an_administrator) {
    cl::create_libraries(cl::windows_modules);
    EXPECT_TRUE(vfl::is_admin());
}

} // namespace
