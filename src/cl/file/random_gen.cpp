#include "cl/file/random_gen.hpp"

namespace cl {

namespace {

// Two full-period linear congruential generators whose products fit 32 bits.
constexpr std::uint32_t modulus_y = 312500;

constexpr std::uint32_t step_x(std::uint32_t x) {
    return (x * 4096 + 150889) % backoff_generator::modulus;
}

constexpr std::uint32_t step_y(std::uint32_t y) {
    return (y * 741 + 66037) % modulus_y;
}

static_assert((backoff_generator::modulus - 1) * std::uint64_t{4096} + 150889 <= UINT32_MAX);

} // namespace

constinit backoff_generator backoff_rng;
constinit name_generator name_rng;

void backoff_generator::seed(std::uint64_t value) {
    x.store(static_cast<std::uint32_t>(value % modulus), std::memory_order_relaxed);
}

std::uint32_t backoff_generator::next() {
    const std::uint32_t value = step_x(x.load(std::memory_order_relaxed));
    x.store(value, std::memory_order_relaxed);
    return value;
}

void name_generator::seed(std::uint64_t value) {
    x.store(static_cast<std::uint32_t>(value % backoff_generator::modulus), std::memory_order_relaxed);
    // The quotient is cut to 32 bits before the second remainder is taken.
    y.store(static_cast<std::uint32_t>(value / backoff_generator::modulus) % modulus_y,
            std::memory_order_relaxed);
}

std::uint64_t name_generator::next() {
    const std::uint32_t new_x = step_x(x.load(std::memory_order_relaxed));
    const std::uint32_t new_y = step_y(y.load(std::memory_order_relaxed));
    x.store(new_x, std::memory_order_relaxed);
    y.store(new_y, std::memory_order_relaxed);
    return std::uint64_t{new_x} * modulus_y + new_y;
}

} // namespace cl
