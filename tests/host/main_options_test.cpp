#include "host/main_options.hpp"

#include "rows.hpp"

namespace {

const wchar_t* const modes[] = {L"client", L"-service",   L"-win32",          L"-tcpview",
                                L"-calib", L"-calibfile", L"-install_driver", L"-uninstall_driver"};

// The mode, what comes with it, and the arguments that no option claimed.
std::wstring read(const std::wstring& arguments) {
    std::vector<std::wstring> args = {L"-service"}; // the program's name is not looked at
    for (const wchar_t c : arguments)
        if (c == L'|')
            args.emplace_back();
        else
            args.back() += c;
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

TEST(main_options, arguments) {
    for_rows("main_options.tsv", [](const row& r) { EXPECT_EQ(read(r.wide("arguments")), r.wide("found")); });
}

} // namespace
