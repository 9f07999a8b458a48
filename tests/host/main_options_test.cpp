#include "host/main_options.hpp"

#include <gtest/gtest.h>

using vfl::run_mode;

TEST(main_options, arguments) {
    const struct {
        const char* name;
        std::vector<std::wstring> args;
        run_mode mode;
        bool game_analyzer;
        const wchar_t* dll_path; // null: not given
        std::vector<std::wstring> extra;
    } rows[] = {
        {"none", {}, run_mode::client, false, nullptr, {}},
        {"case of ASCII letters is ignored", {L"-SerVICE"}, run_mode::service, false, nullptr, {}},
        {"precedence, not order",
         {L"-install_driver", L"-calib", L"-uninstall_driver"},
         run_mode::calib,
         false,
         nullptr,
         {}},
        {"service before win32", {L"-win32", L"-service"}, run_mode::service, false, nullptr, {}},
        {"win32 before tcpview", {L"-tcpview", L"-win32"}, run_mode::win32, false, nullptr, {}},
        {"tcpview before calib", {L"-calib", L"-tcpview"}, run_mode::tcpview, false, nullptr, {}},
        {"calib before calibfile", {L"-calibfile", L"-calib"}, run_mode::calib, false, nullptr, {}},
        {"calibfile before install",
         {L"-install_driver", L"-calibfile"},
         run_mode::calibfile,
         false,
         nullptr,
         {}},
        {"install before uninstall",
         {L"-uninstall_driver", L"-install_driver"},
         run_mode::install_driver,
         false,
         nullptr,
         {}},
        {"uninstall", {L"-uninstall_driver"}, run_mode::uninstall_driver, false, nullptr, {}},
        {"the analyser chooses no mode", {L"-game_analyzer"}, run_mode::client, true, nullptr, {}},
        {"whole words",
         {L"-services", L"service", L"-calib "},
         run_mode::client,
         false,
         nullptr,
         {L"-services", L"service", L"-calib "}},
        {"client options are extra",
         {L"-hex", L"a", L"-win32"},
         run_mode::win32,
         false,
         nullptr,
         {L"-hex", L"a"}},
        {"a path loses its blanks",
         {L"-DLLPATH", L" \t C:\\a b\\x.dll\r\n"},
         run_mode::client,
         false,
         L"C:\\a b\\x.dll",
         {}},
        {"a path may look like an option",
         {L"-dllpath", L"-service"},
         run_mode::client,
         false,
         L"-service",
         {}},
        {"the last path holds", {L"-dllpath", L"a", L"-dllpath", L"b"}, run_mode::client, false, L"b", {}},
        {"a path without a value has no effect",
         {L"x", L"-dllpath"},
         run_mode::client,
         false,
         nullptr,
         {L"x"}},
        {"an empty path is a path", {L"-dllpath", L"  "}, run_mode::client, false, L"", {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<std::wstring> args{L"-service"}; // the program's name is not looked at
        args.insert(args.end(), row.args.begin(), row.args.end());
        std::vector<wchar_t*> argv;
        for (std::wstring& a : args)
            argv.push_back(a.data());
        const vfl::main_options o = vfl::read_main_options(static_cast<int>(argv.size()), argv.data());
        EXPECT_EQ(o.mode(), row.mode);
        EXPECT_EQ(o.game_analyzer, row.game_analyzer);
        EXPECT_EQ(o.has_dll_path, row.dll_path != nullptr);
        EXPECT_EQ(o.dll_path, row.dll_path ? row.dll_path : L"");
        EXPECT_EQ(std::vector<std::wstring>(o.extra_args.begin(), o.extra_args.end()), row.extra);
    }
}
