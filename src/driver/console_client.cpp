#include "driver/console_client.hpp"

#include "cl/os/clock.hpp"
#include "cl/os/console.hpp"
#include "cl/os/error.hpp"
#include "cl/trace/console.hpp"
#include "cl/trace/say.hpp"
#include "contracts/protocol.h"
#include "driver/bin_command.hpp"
#include "driver/client_options.hpp"
#include "driver/connection_view.hpp"
#include "driver/hex_dump.hpp"
#include "driver/text_command.hpp"

#include <algorithm>

namespace vfl {

namespace {

// Characters of a text reply: a buffer of 2 MiB.
constexpr std::uint32_t reply_chars = 0x100000;
constexpr std::size_t nop_reply_bytes = 4096;
constexpr std::uint32_t repeat_ms = 1;

// Closes the device on every way out.
struct open_device {
    cl::os::device_handle handle;
    explicit open_device(const std::wstring& path) : handle(cl::os::open_device(path.c_str())) {}
    ~open_device() {
        if (handle != cl::os::invalid_device)
            cl::os::close_device(handle);
    }
    open_device(const open_device&) = delete;
    open_device& operator=(const open_device&) = delete;
};

} // namespace

int run_console_client(const wchar_t* device_name, std::uint32_t code, const wchar_t* command) {
    const open_device device(std::wstring(L"\\\\.\\") + device_name);
    if (device.handle == cl::os::invalid_device) {
        cl::say(cl::trace_err, L"Unable to open device '%?'.\n", device_name);
        return 1;
    }
    client_options options;
    if (command)
        options.command = command;
    else
        options = read_client_options(cl::os::raw_command_line());

    if (options.bin_cons)
        return run_connection_view(device.handle, options.ever, options.hex, options.time);
    if (options.bin_nop)
        return static_cast<int>(run_bin_nop(device.handle, options.hex, options.time));
    for (;;) {
        const bool done = execute_text_command(device.handle, code, options.command, options.hex, reply_chars,
                                               options.time);
        if (!options.ever)
            return done ? 0 : 1;
        // A failing command doesn't end the repetition; only the user does, also by closing the pipe that he
        // reads.
        if (cl::reader_has_gone())
            return 0;
        cl::os::sleep_ms(repeat_ms);
    }
}

bool execute_text_command(cl::os::device_handle device, std::uint32_t code, const std::wstring& command,
                          bool hex, std::uint32_t maxsz, bool time) {
    std::wstring reply;
    if (report_ioctl_error(string_ioctl_command(device, code, command, reply, maxsz, time)))
        return false;
    if (hex) {
        const std::string bytes = utf16_bytes(reply);
        cl::trace_out(hex_dump(bytes.data(), static_cast<std::uint32_t>(bytes.size()), {}));
    } else {
        cl::trace_out(reply);
    }
    return true;
}

bool report_ioctl_error(const cl::os::request_end& end) {
    if (end.done)
        return false;
    switch (end.error) {
    case cl::os::error_gen_failure:
        trace_write(&cl::trace_err, L"Port not found.\n");
        break;
    case cl::os::error_not_supported:
        trace_write(&cl::trace_err, L"Device does not support commands.\n");
        break;
    default:
        cl::say(cl::trace_err, L"I/O Control error %u\n", end.error);
    }
    return true;
}

std::uint32_t run_bin_nop(cl::os::device_handle device, bool hex, bool time) {
    const vfl_request request{VFL_REQUEST_MAGIC, VFL_REQUEST_VERSION, VFL_REQUEST_SELECTOR, VFL_COMMAND_NOP};
    std::string reply(nop_reply_bytes, '\0');
    std::uint32_t returned = 0;
    const cl::os::request_end end = ioctl_bin_command(device, VFL_BIN_COMMAND_IOCTL, &request, sizeof request,
                                                      reply, returned, time, true);
    if (hex) {
        const auto count = static_cast<std::uint32_t>(std::min<std::size_t>(returned, reply.size()));
        cl::trace_out(hex_dump(reply.data(), count, {}));
    }
    return end.done ? 0 : 1;
}

} // namespace vfl
