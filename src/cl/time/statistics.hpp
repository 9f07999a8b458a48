// A running summary of figures.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

namespace cl {

struct statistics {
    std::uint64_t sum = 0;
    std::uint64_t minimum = std::numeric_limits<std::uint64_t>::max(); // so while count is 0
    std::uint64_t maximum = 0;
    std::uint32_t count = 0;

    void add(std::uint64_t value) {
        ++count;
        sum += value;
        minimum = std::min(minimum, value);
        maximum = std::max(maximum, value);
    }
};

} // namespace cl
