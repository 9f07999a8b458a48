#include "host/modes.hpp"

#include "cl/log/trace_set_up.hpp"
#include "cl/os/message_box.hpp"
#include "cl/sys/os_info.hpp"
#include "cl/trace/say.hpp"
#include "contracts/service_library.h"
#include "host/configuration.hpp"
#include "host/folder_check.hpp"
#include "host/host_state.hpp"
#include "host/library_function.hpp"
#include "host/mode_calls.hpp"
#include "host/service.hpp"
#include "host/service_manager.hpp"
#include "host/service_start.hpp"
#include "host/user_end.hpp"
#include "product/locations.hpp"
#include "product/names.hpp"
#include "product/rights.hpp"

namespace vfl {

namespace {

constexpr std::uint32_t windows_7 = 601;

int run_service_mode() {
    configure_host();
    check_data_folder(data_dir);
    const failure error = run_dispatcher(service_main);
    if (error)
        cl::say(cl::trace_out, "StartServiceCtrlDispatcher error %?\n", *error);
    // Here and never in the handler, and on every path.
    stop_service();
    return error ? 1 : 0;
}

int run_win32() {
    if (!is_admin()) {
        // Before the box, which nobody may see.
        cl::say(cl::trace_err, "You need admin rights for -win32 mode\n");
        cl::os::message_box("You need admin rights for -win32 mode", "vfl.exe", 0);
        return 1;
    }
    configure_host();
    user_end end;
    if (!start_service())
        cl::say(cl::trace_out, "start_service reported an error\n");
    cl::say(cl::trace_out, L"press key to exit ");
    end.wait();
    cl::say(cl::trace_out, "\n");
    stop_service();
    // At the end of a session nothing is certain to run after this.
    cl::trace_file.flush(true);
    return 0;
}

int run_tcpview() {
    const library_function<vfl_dump_connections> dump(VFL_DUMP_CONNECTIONS);
    if (dump)
        dump.call();
    else
        say_not_loaded(L"Unable to load %?\n", dump.error);
    return 0;
}

// The low byte of the calibration's result; 0, and a message, when it can't be bound.
int calibrate(const char* name, const std::vector<wchar_t*>& args) {
    const library_function<vfl_calibrate> function(name);
    if (!function) {
        say_not_loaded(L"Unable to load %?\n", function.error);
        return 0;
    }
    const wchar_t* const* const first = args.empty() ? nullptr : args.data();
    return static_cast<int>(function.call(static_cast<std::int32_t>(args.size()), first) & 0xFF);
}

int run_install_driver() {
    const library_function<vfl_install_driver_ex> install(VFL_INSTALL_DRIVER);
    if (!install) {
        say_not_loaded(L"unable to load install func from %?\n", install.error);
        return 1;
    }
    initialize_com();
    const std::uint32_t code =
        install.call(install_dir.c_str(), (data_dir + log_file_name).c_str(), VFL_CALL_TOKEN);
    uninitialize_com();
    // Deliberate: a failed installation that could be called is no failure of the program.
    cl::say(cl::trace_out, "Driver installation finished with code %u\n", code);
    return 0;
}

int run_uninstall_driver() {
    const library_function<vfl_uninstall_driver_ex> uninstall(VFL_UNINSTALL_DRIVER);
    if (!uninstall) {
        say_not_loaded(L"unable to load uninstall func from %?\n", uninstall.error);
        return 1;
    }
    initialize_com();
    const std::uint32_t code = uninstall.call((data_dir + log_file_name).c_str(), VFL_CALL_TOKEN);
    uninitialize_com();
    cl::say(cl::trace_out, "Driver uninstallation finished with code %u\n", code);
    return 0;
}

} // namespace

bool prepare_host() {
    if (cl::os_info.version < windows_7) {
        cl::say(cl::trace_out, "Operating system not supported.");
        return false;
    }
    read_install_dir(product_word, install_dir); // a failure leaves it empty
    dll_path = install_dir + VFL_SERVICE_LIBRARY;
    data_dir = common_data_dir(product_word);
    return true;
}

int run_mode_of(run_mode mode, const std::vector<wchar_t*>& extra_args) {
    switch (mode) {
    case run_mode::service:
        return run_service_mode();
    case run_mode::win32:
        return run_win32();
    case run_mode::tcpview:
        return run_tcpview();
    case run_mode::calib:
        calibrate(VFL_CALIBRATE_BURST, extra_args);
        return 0;
    case run_mode::calibfile:
        return calibrate(VFL_CALIBRATE_FILE, extra_args);
    case run_mode::install_driver:
        return run_install_driver();
    case run_mode::uninstall_driver:
        return run_uninstall_driver();
    case run_mode::client:
        break;
    }
    return 0;
}

} // namespace vfl
