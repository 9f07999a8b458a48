#include "driver/bin_command.hpp"

#include "cl/format/format.hpp"
#include "cl/trace/trace_list.hpp"
#include "driver/request_timer.hpp"

#include <algorithm>

namespace vfl {

namespace {

constexpr std::uint32_t error_insufficient_buffer = 122;
constexpr std::size_t first_growth_bytes = 4096;
constexpr std::size_t ceiling_bytes = 0x10000000;

} // namespace

std::uint32_t ioctl_bin_command(cl::os::device_handle device, std::uint32_t code, const void* request,
                                std::uint64_t request_size, std::string& reply, std::uint32_t& returned,
                                bool time, bool report) {
    for (;;) {
        const request_timer timer(time);
        const std::uint32_t error =
            cl::os::control_device(device, code, request, static_cast<std::uint32_t>(request_size),
                                   reply.data(), static_cast<std::uint32_t>(reply.size()), returned);
        if (error == 0) {
            timer.tell();
            return 0;
        }
        if (error != error_insufficient_buffer || reply.size() >= ceiling_bytes) {
            if (report) {
                cl::trace_err((cl::basic_format<char>("ioctl_bin_command(%#x) returned error %?, ret=%?\n")
                               << code << error << returned)
                                  .str());
                cl::trace_flush(&cl::trace_err);
            }
            return error;
        }
        reply.resize(std::max(reply.size() * 2, first_growth_bytes));
    }
}

} // namespace vfl
