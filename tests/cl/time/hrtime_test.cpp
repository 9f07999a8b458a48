// The clock's choice, calibration and report on simulated machines.
#include "cl/time/hrtime.hpp"

#include "cl/time/nt_timer_resolution.hpp"
#include "fakes/fake_machine.hpp"
#include "fakes/trace_capture.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace cl;
using fakes::machine;

namespace {

const std::string no_tsc = "Cannot use TSC!\n", no_perf = "OS performance counter not available\n",
                  no_mm = "multimedia timer not available\n";
const std::string perf = "performance counter running at 10 MHz", mm = "multimedia timer at 1000 Hz",
                  tick = "OS tick counter, granularity 1000 Hz";

constexpr std::uint64_t mhz = 1000000;

struct clock_test : testing::Test {
    machine& m = machine::instance();
    fakes::trace_capture said;
    fact_store facts;

    clock_test() { m = machine{}; }

    // p: has a performance counter, z: one of 0 Hz; t: a TSC, whose halves run at these rates; 2: processors;
    // c, b, e: the multimedia timer fails; w, W: the ticks wrap in the first and in the second half.
    void make(std::string_view of, std::uint64_t first, std::uint64_t second) {
        const auto has = [of](char c) { return of.find(c) != of.npos; };
        m = machine{};
        m.perf_ok = has('p') || has('z');
        m.perf_hz = has('z') ? 0 : 10 * mhz;
        m.has_tsc = has('t');
        m.tsc_hz = first;
        m.tsc_hz_later = second;
        m.processors = has('2') ? 2 : 1;
        m.mm_fault = has('c') ? "caps" : has('b') ? "begin" : has('e') ? "end" : "";
        m.tick_start = has('w') ? 0xFFFFFFFF - 700 : has('W') ? 0xFFFFFFFF - 1200 : 1000;
    }
};

} // namespace

TEST_F(clock_test, chooses_a_source) {
    const std::string tsc3 = "CPU TSC running at 3000 MHz; congruence=100%";
    const struct {
        const char* machine;
        std::uint64_t first, second;
        std::int32_t requested, mode;
        std::uint64_t frequency;
        std::int32_t calibrations;
        std::string said, report;
    } rows[] = {
        // By itself.
        {"p", 0, 0, -1, source_perfcnt, 10 * mhz, 0, "", perf},
        {"pt2", 3000 * mhz, 2999 * mhz, -1, source_perfcnt, 10 * mhz, 1, "", perf + "; TSC=3000/2999 MHz"},
        {"pt", 3000 * mhz, 30 * mhz, -1, source_perfcnt, 10 * mhz, 1, "", perf + "; TSC=3000/30 MHz"},
        {"p", 0, 0, 6, source_perfcnt, 10 * mhz, 0, "", perf},
        {"e", 0, 0, 0, source_ticks, 1000, 0, "", tick},
        {"zt", 2500123456, 2500123456, -1, source_tsc, 2500123456, 1, "",
         "CPU TSC running at 2500.123 MHz; congruence=100%"},
        {"t2", 3000 * mhz, 3000 * mhz, -1, source_mmtime, 1000, 0, "", mm},
        {"t", 1000 * mhz, 991 * mhz, -1, source_tsc, 994 * mhz, 1, "",
         "CPU TSC running at 994 MHz; congruence=99.1%"},
        {"t", 991 * mhz, 1000 * mhz, -1, source_tsc, 997 * mhz, 1, "",
         "CPU TSC running at 997 MHz; congruence=99.1%"},
        {"t", 1000 * mhz, 989 * mhz, -1, source_mmtime, 1000, 1, "", mm},
        {"t", 60 * mhz, 60 * mhz, -1, source_tsc, 60 * mhz, 1, "",
         "CPU TSC running at 60 MHz; congruence=100%"},
        {"t", 60 * mhz, 60 * mhz - 1, -1, source_mmtime, 1000, 1, "", mm},
        {"tw", 3000 * mhz, 3000 * mhz, -1, source_mmtime, 1000, 1, "", mm},
        {"tW", 3000 * mhz, 3000 * mhz, -1, source_mmtime, 1000, 1, "", mm},
        {"c", 0, 0, -1, source_ticks, 1000, 0, "", tick},
        {"b", 0, 0, -1, source_ticks, 1000, 0, "", tick},
        // As told, or what comes next.
        {"pt", 3000 * mhz, 3000 * mhz, source_tsc, source_tsc, 3000 * mhz, 1, "", tsc3},
        {"pt2", 3000 * mhz, 3000 * mhz, source_tsc_raw, source_tsc_raw, 3000 * mhz, 1, "", "raw " + tsc3},
        {"p", 0, 0, source_tsc, source_perfcnt, 10 * mhz, 0, no_tsc, perf},
        {"", 0, 0, source_tsc, source_mmtime, 1000, 0, no_tsc, mm},
        {"tc", 3000 * mhz, 1000 * mhz, source_tsc_raw, source_ticks, 1000, 1, no_tsc, tick},
        {"tc", 3000 * mhz, 3000 * mhz, source_perfcnt, source_tsc, 3000 * mhz, 1, no_perf, tsc3},
        {"t2c", 3000 * mhz, 3000 * mhz, source_perfcnt, source_ticks, 1000, 0, no_perf, tick},
        {"t", 3000 * mhz, 1000 * mhz, source_perfcnt, source_mmtime, 1000, 1, no_perf + no_tsc, mm},
        {"p", 0, 0, source_mmtime, source_mmtime, 1000, 0, "", mm},
        {"pe", 0, 0, source_mmtime, source_perfcnt, 10 * mhz, 0, no_mm, perf},
        {"tc", 3000 * mhz, 3000 * mhz, source_mmtime, source_tsc, 3000 * mhz, 1, no_mm, tsc3},
        {"t2e", 0, 0, source_mmtime, source_ticks, 1000, 0, no_mm, tick},
        {"pt", 0, 0, source_ticks, source_ticks, 1000, 0, "", tick},
        {"p", 0, 0, source_interrupt, source_interrupt, 10 * mhz, 0, "",
         "kernel interrupt timer, granularity 10 MHz"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.machine + (", asked for " + std::to_string(row.requested)));
        make(row.machine, row.first, row.second);
        said.out.text.clear();
        hrtime_clock clock(fakes::machine_sources, facts);
        EXPECT_EQ(clock.describe(), "No high-resolution timer found.\n");

        EXPECT_EQ(clock.select_source(row.requested), row.mode != source_interrupt);
        EXPECT_EQ(clock.mode, row.mode);
        EXPECT_EQ(clock.frequency, row.frequency);
        EXPECT_EQ(clock.calibrations, row.calibrations);
        EXPECT_EQ(said.out.text, row.said);
        const std::string report = "Using " + row.report + "\n";
        EXPECT_EQ(clock.describe(), report);
        EXPECT_EQ(facts.read("hrtime"), std::wstring(report.begin(), report.end()));

        // A second of the machine.
        const std::uint64_t before = clock.now();
        m.advance_ns(1000000000);
        const bool counts = row.mode == source_tsc || row.mode == source_tsc_raw;
        EXPECT_EQ(clock.now() - before, counts                         ? row.second
                                        : row.mode == source_interrupt ? before
                                                                       : row.frequency);
    }
}

TEST_F(clock_test, later_choices) {
    // The first reading chooses, and probes the multimedia timer for that.
    hrtime_clock first(fakes::machine_sources, facts);
    m.advance_ns(5000);
    EXPECT_EQ(first.now(), 50u);
    first.now();
    EXPECT_EQ(m.calls, "+1 -1 ");

    // The base stays, so the span grows; and a run that isn't the first asks for nothing.
    make("t", 1000 * mhz, 989 * mhz);
    hrtime_clock again(fakes::machine_sources, facts);
    again.select_source(-1);
    EXPECT_TRUE(again.mode == source_mmtime && again.congruence == 98900);
    again.select_source(-1);
    EXPECT_TRUE(again.mode == source_tsc && again.calibrations == 2 && again.tsc_hz_second == 989 * mhz);
    EXPECT_EQ(again.frequency, (500 * 1000000 + 1500 * 989000) * 1000ull / 2000);

    // After a failure a forced choice takes the counter as it stands, at whatever rate there was.
    make("t", 3000 * mhz, 60 * mhz - 1);
    hrtime_clock failed(fakes::machine_sources, facts);
    failed.congruence = 77;
    failed.select_source(-1);
    EXPECT_EQ(failed.congruence, 77u) << "rejected ahead of the comparison";
    EXPECT_TRUE(failed.select_source(source_tsc_raw));
    EXPECT_TRUE(failed.mode == source_tsc_raw && failed.calibrations == 1 && failed.frequency == 1000);
    EXPECT_EQ(said.out.text, "");
}

TEST_F(clock_test, holds_the_finest_period_while_it_is_in_use) {
    m.mm_period = 3;
    {
        hrtime_clock clock(fakes::machine_sources, facts);
        clock.select_source(source_mmtime);
        EXPECT_TRUE(clock.period_held && clock.period == 3);
        EXPECT_EQ(m.calls, "+3 -3 +3 ");
        clock.select_source(source_ticks);
        EXPECT_EQ(m.calls, "+3 -3 +3 +3 -3 -3 ");
        m.calls.clear();
        clock.select_source(source_mmtime);
        for (const std::uint32_t period : {156250u, 9766u, 0u}) {
            m.interrupt_period = period;
            EXPECT_EQ(clock.describe(),
                      std::string("Using multimedia timer at ") + (period == 0     ? "0 Hz\n"
                                                                   : period > 9766 ? "64 Hz\n"
                                                                                   : "1023.96 Hz\n"));
        }
    }
    EXPECT_EQ(m.calls, "+3 -3 +3 -3 ") << "dropped at the end too";
}

TEST_F(clock_test, monotonic_readings) {
    m.has_tsc = true;
    hrtime_clock clock(fakes::machine_sources, facts);
    const std::vector<std::uint64_t> raw{100, 100, 90, 91, 200, 50, 50},
        rising{100, 101, 102, 103, 212, 213, 214};
    for (const auto mode : {source_tsc, source_tsc_raw}) {
        clock.select_source(mode);
        m.tsc_script.assign(raw.begin(), raw.end());
        for (const std::uint64_t result : mode == source_tsc ? rising : raw)
            EXPECT_EQ(clock.now(), result);
    }
}

namespace {

std::atomic<std::uint64_t> count;

template <class F>
void on_four_threads(const F& f) {
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < 4; ++i)
        threads.emplace_back([&f, i] { f(i); });
}

} // namespace

TEST_F(clock_test, readings_of_many_threads_rise_and_differ) {
    m.has_tsc = true;
    clock_sources sources = fakes::machine_sources;
    count = 1;
    // Rises, stalls, and falls back now and then. Relaxed, so that nothing here orders the threads.
    sources.tsc = [] {
        const std::uint64_t n = count.fetch_add(1, std::memory_order_relaxed);
        return n % 8 == 0 ? n / 2 : n - n % 3;
    };
    hrtime_clock clock(sources, facts);
    clock.calibrations = 1; // taken as it stands
    ASSERT_TRUE(clock.select_source(source_tsc));
    std::vector<std::uint64_t> seen[4], all;
    on_four_threads([&](std::size_t i) {
        for (int n = 0; n < 5000; ++n)
            seen[i].push_back(clock.now());
    });
    for (const auto& s : seen) {
        EXPECT_TRUE(std::is_sorted(s.begin(), s.end()));
        all.insert(all.end(), s.begin(), s.end());
    }
    std::sort(all.begin(), all.end());
    EXPECT_EQ(std::adjacent_find(all.begin(), all.end()), all.end());
}

TEST_F(clock_test, first_readings_at_once_all_find_a_source) {
    make("t", 0, 0);
    clock_sources sources = fakes::machine_sources;
    sources.tsc = [] { return count.fetch_add(1, std::memory_order_relaxed) * mhz; };
    sources.tick_count = [] {
        return static_cast<std::uint32_t>(count.fetch_add(1, std::memory_order_relaxed));
    };
    sources.sleep_ms = [](std::uint32_t ms) { count.fetch_add(ms, std::memory_order_relaxed); };
    sources.mm_min_period = [](std::uint32_t&) { return false; };
    sources.raise_priority = [] { return 0; };
    sources.restore_priority = [](std::int32_t) {};
    for (int round = 0; round < 20; ++round) {
        count = 1;
        hrtime_clock clock(sources, facts);
        on_four_threads([&](std::size_t) {
            EXPECT_NE(clock.now(), 0u);
            EXPECT_TRUE(clock.frequency != 0 && clock.mode != source_automatic);
        });
    }
}

TEST(time_source_names, both_ways) {
    const char* const names[] = {"unknown", "tsc",     "perfcnt", "ticks",  "interrupt",
                                 "tsc_raw", "unknown", "mmtime",  "unknown"};
    for (std::int32_t i = 0; i < 9; ++i) {
        EXPECT_EQ(time_source_names.name(i), names[i]);
        EXPECT_EQ(time_source_names.has(i), i != 0 && i != 6 && i != 8);
        EXPECT_EQ(time_source_names.value(names[i]), time_source_names.has(i) ? i : 0);
    }
}

TEST(elapsed_ns, stays_inside_64_bits) {
    EXPECT_EQ(elapsed_ns(2, 3), 666666666u);
    EXPECT_EQ(elapsed_ns(3579545ull * 86400 * 365 + 1, 3579545), 86400ull * 365 * 1000000000 + 279);
    EXPECT_EQ(elapsed_ns(5000000000ull * 3155760000 + 5, 5000000000), 3155760000ull * 1000000000 + 1);
}

namespace {

// "ntdll.dll" as the test makes it up.
struct {
    bool has_set = true;
    std::int32_t status = 0;
    std::string calls;
} nt;

std::int32_t set_resolution(std::uint32_t wanted, unsigned char set, std::uint32_t* current) {
    nt.calls += "set" + std::to_string(wanted) + std::to_string(set) + (current ? "?" : "-") + " ";
    return 0;
}
std::int32_t query_resolution(std::uint32_t*, std::uint32_t*, std::uint32_t* current) {
    *current = 10001;
    return nt.status;
}

const module_calls nt_calls{
    [](const wchar_t* path) -> module_handle {
        nt.calls += "load ";
        return std::wstring_view(path) == L"S:\\ntdll.dll" ? &nt : nullptr;
    },
    [](module_handle) { nt.calls += "free "; },
    [](module_handle, const char* function) -> entry_point {
        if (std::string_view(function) == "NtQueryTimerResolution")
            return reinterpret_cast<entry_point>(query_resolution);
        return nt.has_set ? reinterpret_cast<entry_point>(set_resolution) : nullptr;
    },
    [] { return std::wstring(L"S:\\"); },
    [] { return std::wstring(L"W:\\"); },
};

} // namespace

TEST(nt_timer_resolution, binds_on_use_and_releases) {
    const struct {
        bool has_set, query, held;
        std::int32_t status;
        std::uint32_t current;
        std::string calls;
    } rows[] = {
        {true, false, false, 0, 0, ""}, // nothing is bound ahead of its use
        {true, true, false, 0, 10001, "load free "},
        {true, true, false, -1073741823, 0, "load free "},
        {false, true, true, 0, 0, "load free load free "}, // both functions or none
        {true, true, true, 0, 10001, "load set00- free "}, // what is held is given back
        {true, false, true, 0, 0, "load set00- free "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        nt = {row.has_set, row.status, ""};
        library_table table(nt_calls);
        {
            nt_timer_resolution resolution(table);
            resolution.held = row.held;
            for (int n = 0; row.query && n < 2; ++n)
                EXPECT_EQ(resolution.current(), row.current);
        }
        EXPECT_EQ(nt.calls, row.calls);
    }
}
