#include "host/main_options.hpp"

#include <gtest/gtest.h>

namespace {

const wchar_t* const modes[] = {L"client", L"-service",   L"-win32",          L"-tcpview",
                                L"-calib", L"-calibfile", L"-install_driver", L"-uninstall_driver"};

// The mode, what comes with it, and the arguments that no option claimed.
std::wstring read(std::vector<std::wstring> args) {
    args.insert(args.begin(), L"-service"); // the program's name is not looked at
    std::vector<wchar_t*> argv;
    for (std::wstring& a : args)
        argv.push_back(a.data());
    const vfl::main_options o = vfl::read_main_options(static_cast<int>(argv.size()), argv.data());
    std::wstring text = modes[static_cast<int>(o.mode())];
    if (o.game_analyzer)
        text += L", analyser";
    if (o.has_dll_path)
        text += L", path <" + o.dll_path + L">";
    for (const wchar_t* extra : o.extra_args)
        text += L" [" + std::wstring(extra) + L"]";
    return text;
}

TEST(main_options, precedence_and_not_order) {
    for (std::size_t first = 1; first < std::size(modes); ++first)
        for (std::size_t other = first; other < std::size(modes); ++other)
            EXPECT_EQ(read({modes[other], modes[first]}), modes[first]);
}

TEST(main_options, arguments) {
    const struct {
        std::vector<std::wstring> args;
        const wchar_t* found;
    } rows[] = {
        {{}, L"client"},
        {{L"-SerVICE"}, L"-service"},
        {{L"-game_analyzer"}, L"client, analyser"},
        {{L"-services", L"service", L"-calib "}, L"client [-services] [service] [-calib ]"},
        {{L"-hex", L"a", L"-win32"}, L"-win32 [-hex] [a]"},
        {{L"-DLLPATH", L" \t C:\\a b\\x.dll\r\n"}, L"client, path <C:\\a b\\x.dll>"},
        {{L"-dllpath", L"-service"}, L"client, path <-service>"},
        {{L"-dllpath", L"a", L"-dllpath", L"b"}, L"client, path <b>"},
        {{L"x", L"-dllpath"}, L"client [x]"}, // without a value it has no effect
        {{L"-dllpath", L"  "}, L"client, path <>"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(read(row.args), row.found);
}

} // namespace
