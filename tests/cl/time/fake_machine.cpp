#include "cl/time/fake_machine.hpp"

namespace {

using fakes::machine;

constexpr std::uint64_t billion = 1000000000;

machine& here() {
    return machine::instance();
}

void note(const char* call, std::int64_t value) {
    here().calls += call + std::to_string(value) + " ";
}

std::uint64_t tsc() {
    if (here().tsc_script.empty())
        return here().tsc_now;
    const std::uint64_t value = here().tsc_script.front();
    here().tsc_script.pop_front();
    return value;
}

std::uint32_t tick_count() {
    here().advance_ns(1000000);
    const std::uint64_t ms = here().ns / 1000000;
    return here().tick_start + static_cast<std::uint32_t>(ms - ms % here().tick_step_ms);
}

bool perf_frequency(std::uint64_t& hz) {
    hz = here().perf_hz;
    return here().perf_ok;
}

bool mm_min_period(std::uint32_t& ms) {
    ms = here().mm_period;
    return here().mm_fault != "caps";
}

bool mm_begin_period(std::uint32_t ms) {
    if (here().mm_fault == "begin")
        return false;
    note("+", ms);
    return true;
}

bool mm_end_period(std::uint32_t ms) {
    note("-", ms);
    return here().mm_fault != "end";
}

std::int32_t raise_priority() {
    note("raise", 0);
    return 2;
}

void restore_priority(std::int32_t priority) {
    note("back", priority);
    ++here().samples;
}

} // namespace

namespace fakes {

machine& machine::instance() {
    static machine m;
    return m;
}

// Both factors stay small enough for 64 bits: at most 10^12 ticks a second, in steps of 1 ms.
void machine::advance_ns(std::uint64_t step) {
    ns += step;
    const std::uint64_t hz = samples >= 2 && tsc_hz_later != 0 ? tsc_hz_later : tsc_hz;
    tsc_now += step / billion * hz;
    for (std::uint64_t left = step % billion; left != 0;) {
        const std::uint64_t part = left < 1000000 ? left : 1000000;
        tsc_rest += hz * part;
        tsc_now += tsc_rest / billion;
        tsc_rest %= billion;
        left -= part;
    }
}

const cl::clock_sources machine_sources{
    .has_tsc = [] { return here().has_tsc; },
    .processors = [] { return here().processors; },
    .tsc = tsc,
    .tick_count = tick_count,
    .perf_frequency = perf_frequency,
    .perf_counter = [] { return here().ns / 100; },
    .mm_min_period = mm_min_period,
    .mm_begin_period = mm_begin_period,
    .mm_end_period = mm_end_period,
    .mm_time = [] { return static_cast<std::uint32_t>(here().ns / 1000000); },
    .interrupt_period = [] { return here().interrupt_period; },
    .raise_priority = raise_priority,
    .restore_priority = restore_priority,
    .sleep_ms = [](std::uint32_t ms) { here().advance_ns(std::uint64_t{ms} * 1000000); },
};

} // namespace fakes
