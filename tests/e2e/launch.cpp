// The end-to-end tests' arm inside Wine. It reads orders from standard input, one a line, and answers each
// with one line. Texts and bytes are in hexadecimal ("-" for none), so that any command line and any reply
// passes unchanged:
//   run EXE COMMAND_LINE OUT ERR   starts a program (UTF-16) with its streams in two new files: "exit CODE"
//   ioctl CODE INPUT OUT_SIZE      one device request: "done ERROR RETURNED OUTPUT"
//   cancel CODE INPUT OUT_SIZE     the same, cancelled once it is pending
// "launch --screen EXE COMMAND_LINE OUT SCREEN", started in a terminal, runs a program there, with standard
// output in the file OUT unless that is "-", writes what then stands on the screen to the file SCREEN (UTF-8,
// no blanks at the ends of lines) and ends with the program's exit code.
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr DWORD run_limit_ms = 300000; // no program of the tests takes longer unless it hangs

std::string from_hex(const std::string& text) {
    std::string bytes;
    if (text != "-")
        for (std::size_t i = 0; i + 1 < text.size(); i += 2)
            bytes.push_back(static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16)));
    return bytes;
}

std::wstring wide_from_hex(const std::string& text) {
    const std::string bytes = from_hex(text);
    std::wstring wide;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        wide.push_back(static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) |
                                            static_cast<unsigned char>(bytes[i + 1]) << 8));
    return wide;
}

std::string to_hex(const char* bytes, std::size_t count) {
    std::string text;
    text.reserve(count * 2);
    for (std::size_t i = 0; i < count; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        text.push_back("0123456789abcdef"[byte >> 4]);
        text.push_back("0123456789abcdef"[byte & 15]);
    }
    return text.empty() ? "-" : text;
}

HANDLE inheritable_file(const std::wstring& path, DWORD access, DWORD disposition) {
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    return CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, disposition, 0,
                       nullptr);
}

std::string run(std::istringstream& order) {
    std::string exe, line, out, err;
    order >> exe >> line >> out >> err;
    const std::wstring program = wide_from_hex(exe);
    std::wstring command_line = wide_from_hex(line);
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = inheritable_file(L"NUL", GENERIC_READ, OPEN_EXISTING);
    start.hStdOutput = inheritable_file(wide_from_hex(out), GENERIC_WRITE, CREATE_ALWAYS);
    start.hStdError = inheritable_file(wide_from_hex(err), GENERIC_WRITE, CREATE_ALWAYS);
    PROCESS_INFORMATION process{};
    const BOOL started = CreateProcessW(program.c_str(), command_line.data(), nullptr, nullptr, TRUE, 0,
                                        nullptr, nullptr, &start, &process);
    const DWORD error = GetLastError();
    CloseHandle(start.hStdInput);
    CloseHandle(start.hStdOutput);
    CloseHandle(start.hStdError);
    if (!started)
        return "failed " + std::to_string(error);
    std::string answer = "timeout";
    if (WaitForSingleObject(process.hProcess, run_limit_ms) == WAIT_OBJECT_0) {
        DWORD code = 0;
        GetExitCodeProcess(process.hProcess, &code);
        answer = "exit " + std::to_string(code);
    } else {
        TerminateProcess(process.hProcess, 1);
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return answer;
}

std::string screen_text() {
    const HANDLE console =
        CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, 0, nullptr);
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!GetConsoleScreenBufferInfo(console, &info))
        return "no console";
    std::string text;
    for (SHORT y = 0; y <= info.dwCursorPosition.Y; ++y) {
        std::wstring row(static_cast<std::size_t>(info.dwSize.X), L' ');
        DWORD count = 0;
        ReadConsoleOutputCharacterW(console, row.data(), static_cast<DWORD>(row.size()), {0, y}, &count);
        row.resize(row.find_last_not_of(L' ') + 1);
        std::string bytes(row.size() * 3, '\0');
        bytes.resize(static_cast<std::size_t>(
            WideCharToMultiByte(CP_UTF8, 0, row.data(), static_cast<int>(row.size()), bytes.data(),
                                static_cast<int>(bytes.size()), nullptr, nullptr)));
        text += bytes + "\n";
    }
    CloseHandle(console);
    return text;
}

int run_on_screen(const char* exe, const char* line, const char* out, const char* screen) {
    std::wstring command_line = wide_from_hex(line);
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    start.hStdOutput = std::string(out) == "-"
                           ? GetStdHandle(STD_OUTPUT_HANDLE)
                           : inheritable_file(wide_from_hex(out), GENERIC_WRITE, CREATE_ALWAYS);
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(wide_from_hex(exe).c_str(), command_line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                        nullptr, &start, &process))
        return 99;
    DWORD code = 98;
    if (WaitForSingleObject(process.hProcess, run_limit_ms) == WAIT_OBJECT_0)
        GetExitCodeProcess(process.hProcess, &code);
    const std::string text = screen_text();
    const HANDLE file = inheritable_file(wide_from_hex(screen), GENERIC_WRITE, CREATE_ALWAYS);
    DWORD written = 0;
    WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    CloseHandle(file);
    return static_cast<int>(code);
}

std::string control(std::istringstream& order, bool cancel) {
    std::string code, input;
    std::size_t out_size = 0;
    order >> code >> input >> out_size;
    std::string in = from_hex(input);
    std::vector<char> out(out_size);
    const HANDLE device =
        CreateFileW(L"\\\\.\\VEXAFLOW$D", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
    if (device == INVALID_HANDLE_VALUE)
        return "closed " + std::to_string(GetLastError());
    OVERLAPPED overlapped{};
    overlapped.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    DWORD returned = 0;
    BOOL ok = DeviceIoControl(device, static_cast<DWORD>(std::stoul(code, nullptr, 0)), in.data(),
                              static_cast<DWORD>(in.size()), out.data(), static_cast<DWORD>(out_size),
                              nullptr, &overlapped);
    const bool pending = !ok && GetLastError() == ERROR_IO_PENDING;
    if (pending && cancel)
        CancelIoEx(device, &overlapped);
    if (ok || pending)
        ok = GetOverlappedResult(device, &overlapped, &returned, TRUE);
    const DWORD error = ok ? 0 : GetLastError();
    CloseHandle(overlapped.hEvent);
    CloseHandle(device);
    const std::size_t given = ok && returned <= out_size ? returned : 0;
    return "done " + std::to_string(error) + " " + std::to_string(returned) + " " + to_hex(out.data(), given);
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 6 && std::string(argv[1]) == "--screen")
        return run_on_screen(argv[2], argv[3], argv[4], argv[5]);
    std::string line;
    while (std::getline(std::cin, line)) {
        std::istringstream order(line);
        std::string word;
        order >> word;
        if (word == "run")
            std::cout << run(order) << std::endl;
        else if (word == "ioctl" || word == "cancel")
            std::cout << control(order, word == "cancel") << std::endl;
        else
            std::cout << "unknown" << std::endl;
    }
}
