// The control device of cl/os/device.hpp, acted out by a function that the test gives. Not thread-safe.
#pragma once

#include "cl/os/device.hpp"

#include <functional>
#include <string>
#include <vector>

namespace fakes {

struct device_request {
    std::uint32_t code;
    std::string in;
    std::uint32_t out_size;
};

struct device {
    // What a request is answered with: the error (0 = success, unless it fails without a number), the bytes
    // for the reply buffer, and the count to report (by default the size of the bytes).
    struct answer {
        std::uint32_t error = 0;
        std::string bytes{};
        std::int64_t returned = -1;
        bool fails = error != 0;
    };

    bool exists = true;
    std::function<answer(const device_request&)> act; // none: every request succeeds with no bytes
    std::wstring opened;                              // path of the last open
    int open_count = 0;                               // opens less closes
    std::vector<device_request> requests;

    // The one device of the process; assign device{} to start afresh.
    static device& instance();
};

} // namespace fakes
