#include "cl/os/clock.hpp"

#include <cerrno>
#include <ctime>

namespace cl::os {

std::uint32_t tick_count() {
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(t.tv_sec) * 1000 +
                                      static_cast<std::uint64_t>(t.tv_nsec) / 1000000);
}

void sleep_ms(std::uint32_t ms) {
    timespec left{static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000000};
    do { // NOLINT(bugprone-infinite-loop): all ones is for ever
        while (nanosleep(&left, &left) != 0 && errno == EINTR) {
        }
        left = {1000000, 0};
    } while (ms == 0xFFFFFFFF);
}

local_time now_local() {
    timespec t{};
    clock_gettime(CLOCK_REALTIME, &t);
    // The calendar changes with the second at most, and finding it out costs more than a line of the log.
    thread_local tm b{};
    thread_local time_t shown = -1;
    if (t.tv_sec != shown) {
        localtime_r(&t.tv_sec, &b);
        shown = t.tv_sec;
    }
    const auto u16 = [](long v) { return static_cast<std::uint16_t>(v); };
    return {u16(b.tm_year + 1900), u16(b.tm_mon + 1), u16(b.tm_mday),          u16(b.tm_hour),
            u16(b.tm_min),         u16(b.tm_sec),     u16(t.tv_nsec / 1000000)};
}

std::int64_t unix_time() {
    return std::time(nullptr);
}

} // namespace cl::os
