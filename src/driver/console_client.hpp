// The console client of the driver: what the executable is when no mode option is given.
// All of it runs on the calling thread, with one request outstanding at a time.
#pragma once

#include "cl/os/device.hpp"

#include <cstdint>
#include <string>

namespace vfl {

// Opens the control device and does what the raw command line asks for; a given `command` (null for none) is
// sent once instead, with no option. Returns 0 when the last request succeeded, else 1. With -ever it
// returns only when nobody reads the pipe any more to which it writes, and then 0.
int run_console_client(const wchar_t* device_name, std::uint32_t code, const wchar_t* command);

// Sends one text command and prints its reply, with `hex` as a dump, or the error. True on success.
bool execute_text_command(cl::os::device_handle device, std::uint32_t code, const std::wstring& command,
                          bool hex, std::uint32_t maxsz, bool time);

// Writes to trace_err what a failure's number means. True when there was a failure.
bool report_ioctl_error(const cl::os::request_end& end);

// Sends the binary no-operation and, with `hex`, dumps what came back, also after an error. Returns 0 or 1.
std::uint32_t run_bin_nop(cl::os::device_handle device, bool hex, bool time);

} // namespace vfl
