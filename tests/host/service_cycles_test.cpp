// The service library, loaded, started, stopped and unloaded again and again in one process.
#include "cl/sys/library_table.hpp"
#include "host/host_state.hpp"
#include "host/service_start.hpp"

#include <gtest/gtest.h>
#include <windows.h>

#include <psapi.h>

namespace {

struct usage {
    DWORD handles = 0;
    SIZE_T private_bytes = 0;
};

usage present_usage() {
    usage u;
    PROCESS_MEMORY_COUNTERS_EX counters{};
    EXPECT_TRUE(GetProcessHandleCount(GetCurrentProcess(), &u.handles));
    EXPECT_TRUE(GetProcessMemoryInfo(GetCurrentProcess(),
                                     reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters), sizeof counters));
    u.private_bytes = counters.PrivateUsage;
    return u;
}

} // namespace

TEST(service_cycles, three_hundred_leave_nothing_behind) {
    // The stand-in that is built beside this program, written by CMake as a Unix path, which Wine takes too.
    const std::string path = VFL_STAND_IN_LIBRARY;
    vfl::dll_path = L"Z:" + std::wstring(path.begin(), path.end());
    for (wchar_t& c : vfl::dll_path)
        if (c == L'/')
            c = L'\\';
    cl::create_libraries(cl::windows_modules);
    vfl::game_analyzer_requested = true;
    usage tenth;
    for (int i = 1; i <= 300; ++i) {
        ASSERT_TRUE(vfl::start_service()) << "cycle " << i;
        vfl::stop_service();
        if (i == 10)
            tenth = present_usage();
    }
    vfl::game_analyzer_requested = false;
    const usage last = present_usage();
    EXPECT_EQ(last.handles, tenth.handles);
    // Some pages of slack for the heap; a leak of one record a cycle would be more.
    EXPECT_LE(last.private_bytes, tenth.private_bytes + 0x10000);
    EXPECT_EQ(GetModuleHandleW(vfl::dll_path.c_str()), nullptr) << "the last stop has unloaded it";
}
