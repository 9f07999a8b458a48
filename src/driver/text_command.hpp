// The text channel to the driver: a UTF-16 command goes in, a UTF-16 reply comes out.
#pragma once

#include "cl/os/device.hpp"

#include <cstdint>
#include <string>

namespace vfl {

// Sends one command and puts its reply, as far as its first NUL, into `reply`. The reply buffer holds maxsz
// characters and is not grown. A failure is written to trace_err and leaves the reply alone; without memory
// for the buffer the error is 0xFFFFFFFF, and nothing is written. With `time`, how long a successful request
// took is written to trace_out.
cl::os::request_end string_ioctl_command(cl::os::device_handle device, std::uint32_t code,
                                         const std::wstring& command, std::wstring& reply,
                                         std::uint32_t maxsz, bool time);

// Text as the channel carries it: two bytes for each code unit, the low one first.
std::string utf16_bytes(const std::wstring& text);

} // namespace vfl
