// The binder over the real system.
#include "cl/sys/scrambled_bindings.hpp"

#include <filesystem>
#include <gtest/gtest.h>
#include <windows.h>

namespace {

TEST(windows_modules, a_bare_name_is_the_systems_own_library) {
    const wchar_t* const name = L"CABINET.DLL";
    ASSERT_EQ(GetModuleHandleW(name), nullptr) << "nothing else in this program uses it";
    cl::library_table table{cl::windows_modules};
    EXPECT_NE(cl::bind_entry_point(table, name, "FCICreate", true), nullptr);
    EXPECT_EQ(cl::bind_entry_point(table, name, "no such function", true), nullptr);
    wchar_t loaded[MAX_PATH] = {}, system[MAX_PATH] = {};
    GetModuleFileNameW(GetModuleHandleW(name), loaded, MAX_PATH);
    GetSystemDirectoryW(system, MAX_PATH);
    EXPECT_EQ(std::filesystem::path(loaded).parent_path(), std::filesystem::path(system));
    cl::release_library(table, name);
    EXPECT_EQ(GetModuleHandleW(name), nullptr);
}

TEST(windows_modules, the_scrambled_names_bind) {
    cl::create_libraries(cl::windows_modules);
    const cl::scrambled_bindings bound;
    const auto address = [](const char* name) {
        return reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name));
    };
    EXPECT_EQ(reinterpret_cast<void*>(bound.first.address), address("RtlGetVersion"));
    EXPECT_EQ(reinterpret_cast<void*>(bound.second.address), address("RtlGetNtVersionNumbers"));
}

} // namespace
