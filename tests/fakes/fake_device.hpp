// The control device of cl/os/device.hpp, acted out by a function that the test gives. Not thread-safe.
#pragma once

#include "cl/os/device.hpp"

#include <functional>
#include <string>

namespace fakes {

struct device {
    // What a request is answered with: the error (0 = success), the bytes for the reply buffer, and the count
    // to report (by default the size of the bytes).
    struct answer {
        std::uint32_t error = 0;
        std::string bytes{};
        std::int64_t returned = -1;
    };

    std::function<answer(const std::string& request)> act; // none: every request succeeds with no bytes
    int open_count = 0;                                    // opens less closes

    // The one device of the process; assign device{} to start afresh.
    static device& instance();
};

} // namespace fakes
