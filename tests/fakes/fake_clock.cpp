#include "fakes/fake_clock.hpp"

#include <atomic>
#include <mutex>

// The product's own functions, compiled under these names.
namespace cl::os {

extern decltype(tick_count) real_tick_count;
extern decltype(sleep_ms) real_sleep_ms;
extern decltype(now_local) real_now_local;
extern decltype(unix_time) real_unix_time;

} // namespace cl::os

namespace {

std::atomic<bool> in_hand;
std::atomic<std::uint32_t> ticks;
std::atomic<std::uint64_t> slept;
std::atomic<std::int64_t> seconds{1767323045};
std::mutex local_lock;
constexpr cl::os::local_time first_local{2026, 1, 2, 3, 4, 5, 6};
cl::os::local_time local = first_local;
std::function<void(std::uint32_t)> hook;

} // namespace

namespace fakes {

void clock::reset() {
    ticks = 0;
    slept = 0;
    set_unix(1767323045);
    set_local(first_local);
    hook = nullptr;
    in_hand = true;
}

void clock::end() {
    in_hand = false;
}

void clock::set_ticks(std::uint32_t value) {
    ticks = value;
}

void clock::set_local(const cl::os::local_time& now) {
    const std::lock_guard guard(local_lock);
    local = now;
}

void clock::set_unix(std::int64_t value) {
    seconds = value;
}
void clock::advance(std::uint32_t ms) {
    ticks += ms;
}
std::uint64_t clock::slept_ms() {
    return slept;
}
void clock::on_sleep(std::function<void(std::uint32_t)> f) {
    hook = std::move(f);
}

} // namespace fakes

namespace cl::os {

std::uint32_t tick_count() {
    return in_hand ? ticks.load() : real_tick_count();
}

void sleep_ms(std::uint32_t ms) {
    if (!in_hand)
        return real_sleep_ms(ms);
    fakes::clock::advance(ms);
    slept += ms;
    if (hook)
        hook(ms);
}

local_time now_local() {
    if (!in_hand)
        return real_now_local();
    const std::lock_guard guard(local_lock);
    return local;
}

std::int64_t unix_time() {
    return in_hand ? seconds.load() : real_unix_time();
}

} // namespace cl::os
