#include "host/main_options.hpp"

#include "cl/text/string_util.hpp"

#include <cwchar>

namespace vfl {

namespace {

struct option_flag {
    const wchar_t* word;
    bool main_options::*flag;
};

constexpr option_flag option_flags[] = {
    {L"-service", &main_options::service},
    {L"-win32", &main_options::win32},
    {L"-tcpview", &main_options::tcpview},
    {L"-game_analyzer", &main_options::game_analyzer},
    {L"-calib", &main_options::calib},
    {L"-calibfile", &main_options::calibfile},
    {L"-install_driver", &main_options::install_driver},
    {L"-uninstall_driver", &main_options::uninstall_driver},
};

bool is_word(const wchar_t* argument, const wchar_t* word) {
    return cl::icompare(argument, std::wcslen(argument), word, std::wcslen(word)) == 0;
}

bool main_options::*find_flag(const wchar_t* argument) {
    for (const option_flag& option : option_flags)
        if (is_word(argument, option.word))
            return option.flag;
    return nullptr;
}

} // namespace

run_mode main_options::mode() const {
    if (service)
        return run_mode::service;
    if (win32)
        return run_mode::win32;
    if (tcpview)
        return run_mode::tcpview;
    if (calib)
        return run_mode::calib;
    if (calibfile)
        return run_mode::calibfile;
    if (install_driver)
        return run_mode::install_driver;
    return uninstall_driver ? run_mode::uninstall_driver : run_mode::client;
}

main_options read_main_options(int argc, wchar_t** argv) {
    main_options options;
    for (int i = 1; i < argc; ++i) {
        if (bool main_options::*const flag = find_flag(argv[i])) {
            options.*flag = true;
        } else if (!is_word(argv[i], L"-dllpath")) {
            options.extra_args.push_back(argv[i]);
        } else if (i + 1 < argc) {
            options.dll_path = argv[++i];
            cl::trim_left(options.dll_path);
            cl::trim_right(options.dll_path);
            options.has_dll_path = true;
        }
    }
    return options;
}

} // namespace vfl
