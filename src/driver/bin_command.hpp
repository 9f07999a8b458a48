// The binary channel to the driver: a small request record goes in, a block of bytes comes out.
#pragma once

#include "cl/os/device.hpp"

#include <cstdint>
#include <string>

namespace vfl {

// Sends one request. `reply` is the buffer that the driver fills: the caller gives it a size, and while the
// driver asks for more it is doubled, to 4096 bytes at least and 256 MiB at most. It is not cut to what came
// back: that is `returned`, which the caller sets to 0 first and which a driver may overstate. With
// `report`, an error is written to trace_err; with `time`, how long a successful request took to trace_out.
cl::os::request_end ioctl_bin_command(cl::os::device_handle device, std::uint32_t code, const void* request,
                                      std::uint64_t request_size, std::string& reply, std::uint32_t& returned,
                                      bool time, bool report);

} // namespace vfl
