// Requests to a kernel driver's control device, one at a time for each handle.
// Real on Windows; natively the tests' scripted device stands in for it.
#pragma once

#include <cstdint>

namespace cl::os {

using device_handle = std::uintptr_t;
inline constexpr device_handle invalid_device = ~device_handle{0};

// Opens an existing device for reading and writing, shared both ways, for overlapped requests.
// invalid_device on failure.
device_handle open_device(const wchar_t* path);
void close_device(device_handle device);

// How a request ended. Success is the call's result, never the number: there are statuses without one, and a
// request that fails with such a status has the error 0.
struct request_end {
    bool done;
    std::uint32_t error; // of the system; 0 when done
};

// Sends one control request and waits for its end without limit. `returned` gets the reply's size; of a
// request that fails it keeps what that left in it. Neither buffer may be null unless its size is 0. A
// driver's word for `returned` is not checked against out_size.
request_end control_device(device_handle device, std::uint32_t code, const void* in, std::uint32_t in_size,
                           void* out, std::uint32_t out_size, std::uint32_t& returned);

} // namespace cl::os
