// The process's high-resolution clock: a counter and its rate, from the best of the machine's time sources.
// The source is chosen at the first reading, which is slow for it (200 ms and more where the processor's
// counter is measured); later readings cost what the source costs.
#pragma once

#include "cl/os/mutex.hpp"
#include "cl/sys/system_facts.hpp"
#include "cl/time/clock_sources.hpp"
#include "cl/time/time_source.hpp"

#include <atomic>
#include <cstdint>
#include <string>

namespace cl {

// Any thread may read at any time, and no failure reaches it. The choice takes no lock: threads that take the
// first reading at once all choose, and each leaves a usable source.
struct hrtime_clock {
    using reader = std::uint64_t (*)(hrtime_clock&);

    // Both must outlive the clock.
    constexpr hrtime_clock(const clock_sources& machine, fact_store& report)
        : sources(machine), facts(report) {}
    // Releases a held period of the multimedia timer.
    ~hrtime_clock();
    hrtime_clock(const hrtime_clock&) = delete;
    hrtime_clock& operator=(const hrtime_clock&) = delete;

    // The counter, in units of 1/`frequency` s.
    std::uint64_t now() { return now_fn.load(std::memory_order_acquire)(*this); }

    // Puts a time source into use: the requested one or, if that is missing (which is written to trace_out),
    // the next best; the machine's best for source_automatic and for any number without a name. The report
    // goes to `facts`, under "hrtime". False if there is no source now and readings give 0. May be called
    // again.
    bool select_source(std::int32_t requested);

    // The report text on the source in use.
    [[nodiscard]] std::string describe() const;

    mutex lock;                                        // over last_tsc and tsc_skew alone
    std::atomic<std::uint64_t> frequency = 10000000;   // ticks per second; good from the first reading on
    std::atomic<std::uint64_t> tsc_hz = 0;             // over the whole span of the calibration
    std::atomic<std::uint64_t> perf_hz = 0;            // of the performance counter; 0 when it is missing
    std::atomic<std::uint64_t> tsc_base = 0;           // the first sample: the processor's counter
    std::atomic<std::uint64_t> tick_base = 0;          // and the tick count
    std::atomic<reader> now_fn = first_reading;        // what a reading calls
    std::uint64_t last_tsc = 0;                        // the monotonic reader's last raw value
    std::uint64_t tsc_skew = 0;                        // and what it adds to raw values
    std::atomic<std::uint64_t> tsc_hz_first = 0;       // over the first half of the calibration
    std::atomic<std::uint64_t> tsc_hz_second = 0;      // over the second half
    std::atomic<std::int32_t> mode = source_automatic; // the source in use
    std::atomic<std::int32_t> calibrations = 0;        // runs so far, failed ones too
    std::atomic<std::int32_t> selected = 0;            // 1 once a choice has begun; nothing reads it
    std::atomic<std::uint32_t> congruence = 0; // how far the two halves agree, in thousandths of a percent
    std::atomic<bool> period_held = false;     // a period of the multimedia timer must be released:
    std::atomic<std::uint32_t> period = 0;     // this one, in ms

    const clock_sources& sources;
    fact_store& facts;

private:
    struct probe;
    struct sample;

    static std::uint64_t first_reading(hrtime_clock& clock);
    static std::uint64_t read_tsc(hrtime_clock& clock);
    static std::uint64_t read_tsc_raw(hrtime_clock& clock);
    static std::uint64_t read_perf_counter(hrtime_clock& clock);
    static std::uint64_t read_ticks(hrtime_clock& clock);
    static std::uint64_t read_mm_time(hrtime_clock& clock);
    static std::uint64_t read_nothing(hrtime_clock& clock);

    probe probe_machine();
    std::int32_t choose(const probe& machine);
    reader bring_into_use(std::int32_t& candidate, const probe& machine);
    bool calibrate();
    sample take_sample() const;
    void hold_period();
    void drop_period();
};

// The difference of two readings in nanoseconds. Whole seconds are converted apart from the rest, so that no
// product exceeds 64 bits.
constexpr std::uint64_t elapsed_ns(std::uint64_t ticks, std::uint64_t frequency) {
    return frequency == 0 ? 0 : ticks / frequency * 1000000000 + ticks % frequency * 1000000000 / frequency;
}

// The process's clock.
extern hrtime_clock hrtime;

} // namespace cl
