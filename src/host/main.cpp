#include "cl/trace/list/trace_list.hpp"
#include "driver/channel/protocol.h"
#include "driver/client/console_client.hpp"
#include "host/main_options.hpp"

int wmain(int argc, wchar_t** argv) {
    const vfl::main_options options = vfl::read_main_options(argc, argv);
    if (options.mode() != vfl::run_mode::client) {
        cl::trace_err(std::string("This mode is not part of this version.\n"));
        return 1;
    }
    return vfl::run_console_client(VFL_DEVICE_NAME, VFL_TEXT_COMMAND_IOCTL, nullptr);
}
