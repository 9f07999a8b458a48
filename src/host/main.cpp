#include "contracts/protocol.h"
#include "driver/console_client.hpp"
#include "host/host_state.hpp"
#include "host/main_options.hpp"
#include "host/modes.hpp"

int wmain(int argc, wchar_t** argv) {
    using namespace vfl;
    if (!prepare_host())
        return 1;
    const main_options options = read_main_options(argc, argv);
    if (options.has_dll_path)
        dll_path = options.dll_path;
    game_analyzer_requested = options.game_analyzer;
    if (options.mode() == run_mode::client)
        return run_console_client(VFL_DEVICE_NAME, VFL_TEXT_COMMAND_IOCTL, nullptr);
    return run_mode_of(options.mode(), options.extra_args);
}
