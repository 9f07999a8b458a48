// A program with the product's process-wide objects, which logs into a folder and ends in the way it is told:
//   ending_process WAY FOLDER
// The exit code is 7. process_end_test starts it and reads what it leaves.
#include "cl/ini/cached_ini.hpp"
#include "cl/log/trace_set_up.hpp"

#include <atomic>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>
#include <windows.h>

namespace {

constexpr int exit_code = 7;

void say(char writer, int from, int to, const std::string& more = {}) {
    for (int i = from; i != to; ++i)
        cl::trace_log(std::string(1, writer) + " " + std::to_string(i) + more + "\n");
}

// Threads that write until the process is gone, no faster than the disk; returns when each has begun.
void start_writers() {
    static std::atomic<int> ready{0};
    for (const char writer : {'b', 'c', 'd'})
        std::thread([writer] {
            for (int i = 0;; i += 20) {
                say(writer, i, i + 20);
                if (i == 0)
                    ++ready;
                Sleep(1);
            }
        }).detach();
    while (ready != 3)
        Sleep(1);
}

} // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 3)
        return 2;
    const std::wstring_view way = argv[1];
    const std::wstring folder = std::wstring(argv[2]) + L"\\", log = folder + L"trace.txt";
    say('a', 0, 10); // without a path yet
    if (way == L"without_path")
        return exit_code;
    if (way == L"during_flush") {
        // A ring with more than one write of the file can take quickly, and a thread that writes it.
        say('a', 10, 522, std::string(1 << 14, '.'));
        cl::trace_file.set_path(log);
        std::thread([] { cl::trace_file.flush(true); }).detach();
        while (GetFileAttributesW(log.c_str()) == INVALID_FILE_ATTRIBUTES)
            Sleep(0);
        return exit_code;
    }
    cl::trace_file.set_path(log);
    say('a', 10, 1000);
    if (way == L"return") {
        cl::global_ini.set_file(folder + L"global.ini", false);
        cl::global_ini.write_value(L"param", L"last", L"unwritten", false);
    } else if (way == L"exit_elsewhere") {
        std::thread([] { std::exit(exit_code); }).detach();
        Sleep(INFINITE);
    } else if (way == L"among_writers") {
        start_writers();
    } else {
        cl::trace_file.flush(true);
        start_writers();
        say('a', 1000, 1010);
        if (way == L"terminated")
            TerminateProcess(GetCurrentProcess(), exit_code);
        ExitProcess(exit_code);
    }
    return exit_code;
}
