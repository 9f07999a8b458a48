// The text channel to the driver: a UTF-16 command goes in, a UTF-16 reply comes out.
#pragma once

#include "cl/os/device.hpp"

#include <cstdint>
#include <string>

namespace vfl {

// Sends one command and puts its reply, as far as its first NUL, into `reply`. The reply buffer holds maxsz
// characters and is not grown. Returns 0, the system's error number (told on trace_err, the reply untouched),
// or 0xFFFFFFFF when there is no memory for the buffer. With `time`, tells on trace_out how long a request
// took.
std::uint32_t string_ioctl_command(cl::os::device_handle device, std::uint32_t code,
                                   const std::wstring& command, std::wstring& reply, std::uint32_t maxsz,
                                   bool time);

// Text as the channel carries it: two bytes for each code unit, the low one first.
std::string utf16_bytes(const std::wstring& text);

} // namespace vfl
