#include "driver/bin_command.hpp"

#include "cl/os/error.hpp"
#include "cl/trace/say.hpp"
#include "driver/request_timer.hpp"

#include <algorithm>

namespace vfl {

namespace {

constexpr std::size_t first_growth_bytes = 4096;
constexpr std::size_t ceiling_bytes = 0x10000000;

} // namespace

cl::os::request_end ioctl_bin_command(cl::os::device_handle device, std::uint32_t code, const void* request,
                                      std::uint64_t request_size, std::string& reply, std::uint32_t& returned,
                                      bool time, bool report) {
    for (;;) {
        const request_timer timer(time);
        const cl::os::request_end end =
            cl::os::control_device(device, code, request, static_cast<std::uint32_t>(request_size),
                                   reply.data(), static_cast<std::uint32_t>(reply.size()), returned);
        if (end.done) {
            timer.report();
            return end;
        }
        if (end.error != cl::os::error_insufficient_buffer || reply.size() >= ceiling_bytes) {
            if (report) {
                cl::say(cl::trace_err, "ioctl_bin_command(%#x) returned error %?, ret=%?\n", code, end.error,
                        returned);
                cl::trace_flush(&cl::trace_err);
            }
            return end;
        }
        reply.resize(std::max(reply.size() * 2, first_growth_bytes));
    }
}

} // namespace vfl
