// The binder over the real system.
#include "cl/sys/dynamic_entry.hpp"
#include "cl/sys/scrambled_bindings.hpp"

#include <filesystem>
#include <gtest/gtest.h>
#include <windows.h>

namespace {

namespace fs = std::filesystem;

fs::path probe() {
    wchar_t exe[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, exe, MAX_PATH);
    return fs::path(exe).replace_filename(L"probe_library.dll");
}

struct counts {
    long loads, unloads;
    bool operator==(const counts&) const = default;
};
long variable(const wchar_t* name) {
    wchar_t text[16] = L"0";
    GetEnvironmentVariableW(name, text, 16);
    return std::wcstol(text, nullptr, 10);
}
counts now() {
    return {variable(L"PROBE_LOADS"), variable(L"PROBE_UNLOADS")};
}

class windows_modules : public testing::Test {
protected:
    windows_modules() {
        SetEnvironmentVariableW(L"PROBE_LOADS", nullptr);
        SetEnvironmentVariableW(L"PROBE_UNLOADS", nullptr);
    }
    cl::entry_point bind(const std::wstring& library, const char* function) {
        return cl::bind_entry_point(table, library, function, true);
    }
    cl::library_table table{cl::windows_modules};
    const std::wstring path = probe().wstring();
};

TEST_F(windows_modules, loads_once_and_unloads_with_the_last_binding) {
    const auto answer = reinterpret_cast<int (*)()>(bind(path, "probe_answer"));
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer(), 42);
    EXPECT_EQ(bind(path, "no such function"), nullptr);
    EXPECT_EQ(now(), (counts{1, 0}));
    cl::release_library(table, path);
    EXPECT_EQ(now(), (counts{1, 1}));
}

// A file that someone put into the current folder, or beside the executable, must never get into the process
// by a bare name.
TEST_F(windows_modules, a_bare_name_is_never_loaded_from_the_current_folder) {
    const fs::path before = fs::current_path();
    const fs::path folder = fs::temp_directory_path() / L"vfl_planted";
    fs::create_directories(folder);
    const wchar_t* const system_name = L"WTSAPI32.DLL";
    const wchar_t* const own_name = L"vfl_planted.dll";
    for (const wchar_t* name : {system_name, own_name})
        fs::copy_file(probe(), folder / name, fs::copy_options::overwrite_existing);
    fs::current_path(folder);

    EXPECT_NE(bind(system_name, "WTSQueryUserToken"), nullptr);
    wchar_t loaded[MAX_PATH] = {};
    GetModuleFileNameW(GetModuleHandleW(system_name), loaded, MAX_PATH);
    wchar_t system[MAX_PATH] = {};
    GetSystemDirectoryW(system, MAX_PATH);
    EXPECT_EQ(fs::path(loaded).parent_path(), fs::path(system));
    cl::release_library(table, system_name);
    EXPECT_EQ(bind(own_name, "probe_answer"), nullptr);
    EXPECT_EQ(bind(L"probe_library.dll", "probe_answer"), nullptr) << "beside the executable";
    EXPECT_EQ(now(), (counts{0, 0}));

    // The trap works: the system's own search order steps into it.
    const HMODULE trapped = LoadLibraryW(own_name);
    EXPECT_NE(trapped, nullptr);
    EXPECT_EQ(now(), (counts{1, 0}));
    FreeLibrary(trapped);

    fs::current_path(before);
    fs::remove_all(folder);
}

TEST_F(windows_modules, the_scrambled_names_bind) {
    cl::create_libraries(cl::windows_modules);
    const cl::scrambled_bindings bound;
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    EXPECT_EQ(reinterpret_cast<void*>(bound.first.address),
              reinterpret_cast<void*>(GetProcAddress(ntdll, "RtlGetVersion")));
    EXPECT_EQ(reinterpret_cast<void*>(bound.second.address),
              reinterpret_cast<void*>(GetProcAddress(ntdll, "RtlGetNtVersionNumbers")));
}

} // namespace
