// Runs one disabled test of this executable in a process of its own.
#pragma once

#include <filesystem>
#include <string>
#include <windows.h>

struct other_process {
    // `exe` is this executable or a copy of it; empty for this one.
    explicit other_process(const char* test, std::filesystem::path exe = {}) {
        if (exe.empty())
            exe = path_of_this();
        std::wstring command = L"\"" + exe.wstring() +
                               L"\" --gtest_brief=1 --gtest_also_run_disabled_tests --gtest_filter=" +
                               std::filesystem::path(test).wstring();
        STARTUPINFOW start{};
        start.cb = sizeof start;
        start.dwFlags = STARTF_USESTDHANDLES; // none: its output is no part of ours
        CreateProcessW(exe.c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                       &process);
    }
    ~other_process() {
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    other_process(const other_process&) = delete;
    other_process& operator=(const other_process&) = delete;

    // Waits for the end. 0xFFFFFFFF when the process doesn't run or doesn't end.
    DWORD exit_code() const {
        DWORD code = 0xFFFFFFFF;
        if (WaitForSingleObject(process.hProcess, 60000) == WAIT_OBJECT_0)
            GetExitCodeProcess(process.hProcess, &code);
        return code;
    }

    static std::filesystem::path path_of_this() {
        wchar_t self[MAX_PATH] = {};
        GetModuleFileNameW(nullptr, self, MAX_PATH);
        return self;
    }

    PROCESS_INFORMATION process{};
};
