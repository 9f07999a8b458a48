// The clock's choice, calibration and report on simulated machines.
#include "cl/time/fake_machine.hpp"
#include "cl/time/hrtime.hpp"
#include "fakes/trace_capture.hpp"
#include "rows.hpp"

#include <algorithm>
#include <sstream>

using namespace cl;
using fakes::machine;

TEST(hrtime, chooses_a_source) {
    for_rows("hrtime.tsv", [](const row& r) {
        const std::string of = r.text("machine");
        const auto has = [&](char c) { return of.find(c) != of.npos; };
        machine& m = machine::instance() = {};
        m.perf_ok = has('p') || has('z');
        m.perf_hz = has('z') ? 0 : 10000000;
        m.has_tsc = has('t');
        m.tsc_hz = static_cast<std::uint64_t>(r.number("first"));
        m.tsc_hz_later = static_cast<std::uint64_t>(r.number("second"));
        m.processors = has('2') ? 2 : 1;
        m.mm_fault = has('c') ? "caps" : has('b') ? "begin" : has('e') ? "end" : "";
        m.tick_start = has('w') ? 0xFFFFFFFF - 700 : has('W') ? 0xFFFFFFFF - 1200 : 1000;
        const auto held = [&] { return std::ranges::count(m.calls, '+') - std::ranges::count(m.calls, '-'); };
        fakes::trace_capture said;
        fact_store facts;
        {
            hrtime_clock clock(fakes::machine_sources, facts);
            EXPECT_EQ(clock.describe(), "No high-resolution timer found.\n");
            std::istringstream requests(r.text("requests"));
            const std::string mode = r.text("mode");
            for (std::int32_t request = 0; requests >> request;)
                EXPECT_EQ(clock.select_source(request), mode != "interrupt");
            EXPECT_EQ(time_source_names.name(clock.mode), mode);
            EXPECT_EQ(time_source_names.value(mode), clock.mode);
            EXPECT_EQ(clock.frequency, static_cast<std::uint64_t>(r.number("frequency")));
            EXPECT_EQ(clock.calibrations, r.number("runs"));
            EXPECT_EQ(said.out.text, r.text("said"));
            EXPECT_EQ(facts.read("hrtime"), L"Using " + r.wide("report") + L"\n");
            EXPECT_EQ(held(), mode == "mmtime"); // the finest period, while it is in use
            const std::uint64_t before = clock.now();
            m.advance_ns(1000000000);
            EXPECT_EQ(clock.now() - before, mode == "interrupt"       ? before
                                            : mode.starts_with("tsc") ? m.tsc_hz_later
                                                                      : clock.frequency.load());
        }
        EXPECT_EQ(held(), 0);
    });
    EXPECT_EQ(time_source_names.name(6), "unknown");
    EXPECT_EQ(time_source_names.value("six"), 0);
    EXPECT_EQ(elapsed_ns(3579545ull * 86400 * 365 + 1, 3579545), 86400ull * 365 * 1000000000 + 279);
}

TEST(hrtime, first_and_monotonic_readings) {
    machine& m = machine::instance() = {};
    fact_store facts;
    hrtime_clock first(fakes::machine_sources, facts), clock(fakes::machine_sources, facts);
    m.advance_ns(5000);
    EXPECT_EQ(first.now(), 50u);
    m.has_tsc = true;
    clock.select_source(source_tsc);
    m.tsc_script = {100, 100, 90, 91, 200, 50, 50};
    for (const std::uint64_t result : {100u, 101u, 102u, 103u, 212u, 213u, 214u})
        EXPECT_EQ(clock.now(), result);
}
