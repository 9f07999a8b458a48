// The two small random generators: what they give need not be good, only differ between processes. Both are
// process-wide and constant-initialised; the start of the program seeds them. Any thread may step them,
// without a lock: two threads may get the same value or lose a step.
#pragma once

#include <atomic>
#include <cstdint>

namespace cl {

// The length of a pause between two attempts to open a file.
class backoff_generator {
public:
    void seed(std::uint64_t value);
    // The next state, below `modulus`.
    std::uint32_t next();

    static constexpr std::uint32_t modulus = 714025;

private:
    std::atomic<std::uint32_t> x{0};
};

// The numbers in the names of temporary files.
class name_generator {
public:
    void seed(std::uint64_t value);
    // The next value, below 714025 * 312500.
    std::uint64_t next();

private:
    std::atomic<std::uint32_t> x{0};
    std::atomic<std::uint32_t> y{0};
};

extern backoff_generator backoff_rng;
extern name_generator name_rng;

} // namespace cl
