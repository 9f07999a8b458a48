// The options of `main` and the mode that they choose.
#pragma once

#include <string>
#include <vector>

namespace vfl {

enum class run_mode { client, service, win32, tcpview, calib, calibfile, install_driver, uninstall_driver };

struct main_options {
    bool service = false, win32 = false, tcpview = false, calib = false, calibfile = false;
    bool install_driver = false, uninstall_driver = false;
    bool game_analyzer = false;
    bool has_dll_path = false;
    std::wstring dll_path;            // of the last -dllpath, without blanks at its ends
    std::vector<wchar_t*> extra_args; // what no option claimed; points into argv

    // The first mode that was asked for, in the order of the flags above; the others are ignored in silence.
    [[nodiscard]] run_mode mode() const;
};

// Reads argv from index 1. Options compare whole, without regard to the case of A to Z. A -dllpath without a
// value has no effect.
main_options read_main_options(int argc, wchar_t** argv);

} // namespace vfl
