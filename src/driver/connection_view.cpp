#include "driver/connection_view.hpp"

#include "cl/os/clock.hpp"
#include "cl/trace/console.hpp"
#include "cl/trace/say.hpp"
#include "connview/connection_table.hpp"
#include "connview/snapshot.hpp"
#include "contracts/protocol.h"
#include "driver/bin_command.hpp"
#include "driver/hex_dump.hpp"

#include <algorithm>

namespace vfl {

namespace {

// Holds most tables without a second request.
constexpr std::size_t first_reply_bytes = 0x40000;
constexpr std::uint32_t pause_ms = 1000;

// A driver may claim more bytes than the buffer has.
std::string dump(const std::string& reply, std::uint32_t returned) {
    const auto count = std::min<std::size_t>(returned, reply.size());
    return hex_dump(reply.data(), static_cast<std::uint32_t>(count), "");
}

} // namespace

int run_connection_view(cl::os::device_handle device, bool ever, bool hex, bool time) {
    connection_map map;
    for (;;) {
        const vfl_request_arg request{
            {VFL_REQUEST_MAGIC, VFL_REQUEST_VERSION, VFL_REQUEST_SELECTOR, VFL_COMMAND_CONNECTIONS},
            ever ? 1u : 0u};
        std::string reply(first_reply_bytes, '\0');
        std::uint32_t returned = 0;
        const cl::os::request_end end = ioctl_bin_command(device, VFL_BIN_COMMAND_IOCTL, &request,
                                                          sizeof request, reply, returned, time, true);
        if (hex)
            cl::trace_out(dump(reply, returned));
        if (!end.done) {
            cl::say(cl::trace_out, "error %?\n", end.error);
        } else {
            put_snapshot_time(reply, cl::os::unix_time());
            // A rejected block leaves the map as it was, and the table shows that once more.
            apply_snapshot(map, reply, false, nullptr);
            if (!map.empty())
                cl::trace_out(connection_table(map, cl::os::unix_time()));
        }
        if (!ever)
            return end.done ? 0 : 1;
        if (cl::reader_has_gone())
            return 0; // the user's end
        cl::os::sleep_ms(pause_ms);
    }
}

} // namespace vfl
