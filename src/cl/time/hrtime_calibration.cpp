// The rate of the processor's counter, measured against the tick count.
#include "cl/time/hrtime.hpp"

#include <algorithm>

namespace cl {

namespace {

constexpr std::uint32_t half_ms = 100;            // each half of the first run lasts at least as long
constexpr std::uint64_t least_hz = 60000000;      // a slower counter isn't a processor's
constexpr std::uint64_t full_congruence = 100000; // 100 %
constexpr std::uint64_t least_congruence = 99000;

// Two samples differ in their ticks, unless two threads calibrate at once and took them at the same edge.
std::uint64_t rate(std::uint64_t tsc, std::uint64_t ms) {
    return ms == 0 ? 0 : tsc * 1000 / ms;
}

} // namespace

struct hrtime_clock::sample {
    std::uint64_t tsc, tick;
};

// Right after an edge of the tick count, at the highest priority so that nothing comes between.
hrtime_clock::sample hrtime_clock::take_sample() const {
    const std::int32_t priority = sources.raise_priority();
    const std::uint32_t before = sources.tick_count();
    std::uint32_t tick = before;
    while (tick == before)
        tick = sources.tick_count();
    const std::uint64_t tsc = sources.tsc();
    sources.restore_priority(priority);
    return {tsc, tick};
}

// Ticks are deliberately compared in 64 bits: a tick count that wraps in between gives a useless rate, which
// the tests below reject, and the wait ends.
bool hrtime_clock::calibrate() {
    const bool first_run = calibrations.fetch_add(1) == 0;
    sample middle{};
    if (first_run) {
        const sample base = take_sample();
        tsc_base = base.tsc;
        tick_base = base.tick;
        sources.sleep_ms(half_ms);
        middle = take_sample();
        while (sources.tick_count() - middle.tick < half_ms) {
        }
    }
    const sample end = take_sample();
    tsc_hz = rate(end.tsc - tsc_base, end.tick - tick_base);

    // A later run has a longer base, and nothing to compare.
    if (first_run) {
        const std::uint64_t first = rate(middle.tsc - tsc_base, middle.tick - tick_base);
        const std::uint64_t second = rate(end.tsc - middle.tsc, end.tick - middle.tick);
        tsc_hz_first = first;
        tsc_hz_second = second;
        if (second < least_hz)
            return false;
        congruence =
            static_cast<std::uint32_t>(std::min(first, second) * full_congruence / std::max(first, second));
        if (congruence < least_congruence)
            return false;
    }
    frequency = tsc_hz.load();
    return true;
}

} // namespace cl
