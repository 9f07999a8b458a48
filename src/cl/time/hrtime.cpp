#include "cl/time/hrtime.hpp"

#include "cl/format/text.hpp"
#include "cl/text/text_convert.hpp"
#include "cl/trace/trace_list.hpp"

namespace cl {

namespace {

constexpr std::uint64_t ms_hz = 1000;
constexpr std::uint64_t null_hz = 10000000; // of a clock without a source

} // namespace

// Which sources the machine has, as a choice finds them.
struct hrtime_clock::probe {
    bool perf, multimedia, tsc, one_processor;

    std::int32_t multimedia_or_ticks() const { return multimedia ? source_mmtime : source_ticks; }
    // What follows on a source that is missing.
    std::int32_t after_tsc() const { return perf ? source_perfcnt : multimedia_or_ticks(); }
    std::int32_t after_perf() const { return tsc && one_processor ? source_tsc : multimedia_or_ticks(); }
    std::int32_t after_multimedia() const {
        return perf ? source_perfcnt : tsc && one_processor ? source_tsc : source_ticks;
    }
};

hrtime_clock::~hrtime_clock() {
    drop_period();
}

std::uint64_t hrtime_clock::first_reading(hrtime_clock& clock) {
    clock.select_source(source_automatic);
    return clock.now();
}

// A raw value that isn't above the last one is raised, so that every result is above the one before. This
// includes a thread that gets the lock late, with an older value.
std::uint64_t hrtime_clock::read_tsc(hrtime_clock& clock) {
    const std::uint64_t raw = clock.sources.tsc();
    const mutex_auto guard(clock.lock, true);
    if (raw <= clock.last_tsc)
        clock.tsc_skew += clock.last_tsc - raw + 1;
    clock.last_tsc = raw;
    return raw + clock.tsc_skew;
}

std::uint64_t hrtime_clock::read_tsc_raw(hrtime_clock& clock) {
    return clock.sources.tsc();
}
std::uint64_t hrtime_clock::read_perf_counter(hrtime_clock& clock) {
    return clock.sources.perf_counter();
}
std::uint64_t hrtime_clock::read_ticks(hrtime_clock& clock) {
    return clock.sources.tick_count();
}
std::uint64_t hrtime_clock::read_mm_time(hrtime_clock& clock) {
    return clock.sources.mm_time();
}
std::uint64_t hrtime_clock::read_nothing(hrtime_clock&) {
    return 0;
}

bool hrtime_clock::select_source(std::int32_t requested) {
    const probe machine = probe_machine();
    drop_period();

    std::int32_t candidate = time_source_names.has(requested) ? requested : choose(machine);
    const reader chosen = bring_into_use(candidate, machine);
    mode = candidate;
    now_fn.store(chosen, std::memory_order_release);
    facts.write("hrtime", narrow_to_wide(describe(), 0));
    return chosen != read_nothing;
}

hrtime_clock::probe hrtime_clock::probe_machine() {
    probe found{};
    selected = 1;
    std::uint64_t hz = 0;
    if (!sources.perf_frequency(hz))
        hz = 0;
    perf_hz = hz;
    found.perf = hz != 0;
    std::uint32_t ms = 0;
    found.multimedia = sources.mm_min_period(ms) && sources.mm_begin_period(ms) && sources.mm_end_period(ms);
    found.tsc = sources.has_tsc();
    found.one_processor = sources.processors() == 1;
    return found;
}

// The processor's counter is never chosen where there are more processors, however well it calibrates.
std::int32_t hrtime_clock::choose(const probe& machine) {
    if (machine.perf)
        return source_perfcnt;
    if (machine.tsc && machine.one_processor && calibrate())
        return source_tsc;
    return machine.multimedia_or_ticks();
}

// Goes from candidate to candidate until one works; leaves that one in `candidate`.
hrtime_clock::reader hrtime_clock::bring_into_use(std::int32_t& candidate, const probe& machine) {
    for (;;) {
        switch (candidate) {
        case source_tsc:
        case source_tsc_raw:
            // An earlier calibration is enough, even a failed one: deliberate.
            if (calibrations != 0 || (machine.tsc && calibrate()))
                return candidate == source_tsc ? read_tsc : read_tsc_raw;
            trace_out("Cannot use TSC!\n");
            candidate = machine.after_tsc();
            break;
        case source_perfcnt:
            if (machine.perf) {
                if (machine.tsc && calibrations == 0)
                    calibrate(); // for the report alone
                frequency = perf_hz.load();
                return read_perf_counter;
            }
            trace_out("OS performance counter not available\n");
            candidate = machine.after_perf();
            break;
        case source_mmtime:
            if (machine.multimedia) {
                frequency = ms_hz;
                hold_period();
                return read_mm_time;
            }
            trace_out("multimedia timer not available\n");
            candidate = machine.after_multimedia();
            break;
        case source_ticks:
            frequency = ms_hz;
            return read_ticks;
        default:
            frequency = null_hz;
            return read_nothing;
        }
    }
}

void hrtime_clock::hold_period() {
    std::uint32_t ms = 0;
    const bool held = sources.mm_min_period(ms) && sources.mm_begin_period(ms);
    period = ms;
    period_held = held;
}

void hrtime_clock::drop_period() {
    if (period_held.exchange(false))
        sources.mm_end_period(period);
}

std::string hrtime_clock::describe() const {
    switch (mode) {
    case source_tsc:
    case source_tsc_raw:
        return text("Using %?CPU TSC running at %#,.3? MHz; congruence=%#,.3?%%\n",
                    (mode == source_tsc ? "" : "raw "), tsc_hz / 1000, congruence.load());
    case source_perfcnt: {
        std::string report = text("Using performance counter running at %#,.3? MHz", perf_hz / 1000);
        if (tsc_hz_second != 0)
            report += text("; TSC=%?/%? MHz", tsc_hz_first / 1000000, tsc_hz_second / 1000000);
        return report + "\n";
    }
    case source_ticks:
        return text("Using OS tick counter, granularity %? Hz\n", frequency.load());
    case source_interrupt:
        return text("Using kernel interrupt timer, granularity %#,.3? MHz\n", frequency / 1000);
    case source_mmtime: {
        // 100 ns units to thousandths of a hertz. An unknown period shows as a rate of 0.
        const std::uint64_t units = sources.interrupt_period();
        return text("Using multimedia timer at %#,.3? Hz\n",
                    (units == 0 ? std::uint64_t{0} : 10000000000 / units));
    }
    default:
        return "No high-resolution timer found.\n";
    }
}

} // namespace cl
