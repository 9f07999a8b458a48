// The clock's choice, calibration and report on simulated machines.
#include "cl/time/hrtime.hpp"

#include "cl/time/nt_timer_resolution.hpp"
#include "fakes/fake_machine.hpp"
#include "fakes/trace_capture.hpp"

#include <gtest/gtest.h>
#include <iterator>
#include <vector>

using namespace cl;
using fakes::machine;

namespace {

const std::string no_tsc = "Cannot use TSC!\n";
const std::string no_perf = "OS performance counter not available\n";
const std::string no_mm = "multimedia timer not available\n";

struct clock_test : testing::Test {
    machine& m = machine::instance();
    fakes::trace_capture said;
    fact_store facts;

    clock_test() { m = machine{}; }
};

void no_perf_counter(machine& m) {
    m.perf_ok = false;
}
void only_tsc(machine& m) {
    m.perf_hz = 0;
    m.mm_fault = "caps";
    m.has_tsc = true;
}
void only_ticks(machine& m) {
    m.perf_ok = false;
    m.mm_fault = "end";
}
// A performance counter is missing, and the halves of the calibration run at these rates.
template <std::uint64_t First, std::uint64_t Second, std::uint32_t TickStart = 1000>
void halves(machine& m) {
    m.perf_ok = false;
    m.has_tsc = true;
    m.tsc_hz = First;
    m.tsc_hz_later = Second;
    m.tick_start = TickStart;
}

} // namespace

TEST_F(clock_test, chooses_a_source) {
    const struct {
        const char* name;
        void (*set_up)(machine&);
        std::int32_t requested, mode;
        std::uint64_t frequency;
        std::int32_t calibrations;
        std::string said, report;
    } rows[] = {
        // By itself.
        {"the performance counter first", [](machine&) {}, -1, source_perfcnt, 10000000, 0, "",
         "Using performance counter running at 10 MHz\n"},
        {"with both rates of the TSC in the report, however many processors",
         [](machine& x) {
             x.has_tsc = true;
             x.processors = 8;
             x.tsc_hz_later = 2999000000;
             x.perf_hz = 3579545;
         },
         -1, source_perfcnt, 3579545, 1, "",
         "Using performance counter running at 3.579 MHz; TSC=3000/2999 MHz\n"},
        {"a TSC that fails is a matter of the report alone",
         [](machine& x) {
             x.has_tsc = true;
             x.tsc_hz_later = 30000000;
         },
         -1, source_perfcnt, 10000000, 1, "",
         "Using performance counter running at 10 MHz; TSC=3000/30 MHz\n"},
        {"the number 6 has no source", [](machine&) {}, 6, source_perfcnt, 10000000, 0, "",
         "Using performance counter running at 10 MHz\n"},
        {"nor has 0", only_ticks, 0, source_ticks, 1000, 0, "",
         "Using OS tick counter, granularity 1000 Hz\n"},
        {"a counter of 0 Hz is missing",
         [](machine& x) {
             only_tsc(x);
             x.tsc_hz = 2500123456;
         },
         -1, source_tsc, 2500123456, 1, "", "Using CPU TSC running at 2500.123 MHz; congruence=100%\n"},
        {"never the TSC of two processors",
         [](machine& x) {
             no_perf_counter(x);
             x.has_tsc = true;
             x.processors = 2;
         },
         -1, source_mmtime, 1000, 0, "", "Using multimedia timer at 1000 Hz\n"},
        {"halves that differ by 0.9 %", halves<1000000000, 991000000>, -1, source_tsc, 994000000, 1, "",
         "Using CPU TSC running at 994 MHz; congruence=99.1%\n"},
        {"the faster half may be the second", halves<991000000, 1000000000>, -1, source_tsc, 997000000, 1, "",
         "Using CPU TSC running at 997 MHz; congruence=99.1%\n"},
        {"halves that differ by 1.1 %", halves<1000000000, 989000000>, -1, source_mmtime, 1000, 1, "",
         "Using multimedia timer at 1000 Hz\n"},
        {"just 60 MHz", halves<60000000, 60000000>, -1, source_tsc, 60000000, 1, "",
         "Using CPU TSC running at 60 MHz; congruence=100%\n"},
        {"one Hz less", halves<60000000, 59999999>, -1, source_mmtime, 1000, 1, "",
         "Using multimedia timer at 1000 Hz\n"},
        {"ticks that wrap in the first half", halves<3000000000, 3000000000, 0xFFFFFFFF - 700>, -1,
         source_mmtime, 1000, 1, "", "Using multimedia timer at 1000 Hz\n"},
        {"ticks that wrap in the second half", halves<3000000000, 3000000000, 0xFFFFFFFF - 1200>, -1,
         source_mmtime, 1000, 1, "", "Using multimedia timer at 1000 Hz\n"},
        {"no capabilities of the multimedia timer",
         [](machine& x) {
             no_perf_counter(x);
             x.mm_fault = "caps";
         },
         -1, source_ticks, 1000, 0, "", "Using OS tick counter, granularity 1000 Hz\n"},
        {"no period of it",
         [](machine& x) {
             no_perf_counter(x);
             x.mm_fault = "begin";
         },
         -1, source_ticks, 1000, 0, "", "Using OS tick counter, granularity 1000 Hz\n"},
        {"no end of it", only_ticks, -1, source_ticks, 1000, 0, "",
         "Using OS tick counter, granularity 1000 Hz\n"},

        // As told.
        {"tsc", [](machine& x) { x.has_tsc = true; }, source_tsc, source_tsc, 3000000000, 1, "",
         "Using CPU TSC running at 3000 MHz; congruence=100%\n"},
        {"tsc_raw, also of two processors",
         [](machine& x) {
             x.has_tsc = true;
             x.processors = 2;
         },
         source_tsc_raw, source_tsc_raw, 3000000000, 1, "",
         "Using raw CPU TSC running at 3000 MHz; congruence=100%\n"},
        {"tsc, missing", [](machine&) {}, source_tsc, source_perfcnt, 10000000, 0, no_tsc,
         "Using performance counter running at 10 MHz\n"},
        {"tsc, missing with the counter", no_perf_counter, source_tsc, source_mmtime, 1000, 0, no_tsc,
         "Using multimedia timer at 1000 Hz\n"},
        {"tsc_raw, failing, with ticks alone",
         [](machine& x) {
             only_tsc(x);
             x.tsc_hz_later = 1000000000;
         },
         source_tsc_raw, source_ticks, 1000, 1, no_tsc, "Using OS tick counter, granularity 1000 Hz\n"},
        {"perfcnt", [](machine&) {}, source_perfcnt, source_perfcnt, 10000000, 0, "",
         "Using performance counter running at 10 MHz\n"},
        {"perfcnt, missing, one processor", only_tsc, source_perfcnt, source_tsc, 3000000000, 1, no_perf,
         "Using CPU TSC running at 3000 MHz; congruence=100%\n"},
        {"perfcnt, missing, two processors",
         [](machine& x) {
             only_tsc(x);
             x.processors = 2;
         },
         source_perfcnt, source_ticks, 1000, 0, no_perf, "Using OS tick counter, granularity 1000 Hz\n"},
        {"perfcnt, missing, and a TSC that fails", halves<3000000000, 1000000000>, source_perfcnt,
         source_mmtime, 1000, 1, no_perf + no_tsc, "Using multimedia timer at 1000 Hz\n"},
        {"mmtime", [](machine& x) { x.interrupt_period = 156250; }, source_mmtime, source_mmtime, 1000, 0, "",
         "Using multimedia timer at 64 Hz\n"},
        {"mmtime, of an odd period", [](machine& x) { x.interrupt_period = 9766; }, source_mmtime,
         source_mmtime, 1000, 0, "", "Using multimedia timer at 1023.96 Hz\n"},
        {"mmtime, of an unknown period", [](machine& x) { x.interrupt_period = 0; }, source_mmtime,
         source_mmtime, 1000, 0, "", "Using multimedia timer at 0 Hz\n"},
        {"mmtime, missing", [](machine& x) { x.mm_fault = "end"; }, source_mmtime, source_perfcnt, 10000000,
         0, no_mm, "Using performance counter running at 10 MHz\n"},
        {"mmtime, missing with the counter", only_tsc, source_mmtime, source_tsc, 3000000000, 1, no_mm,
         "Using CPU TSC running at 3000 MHz; congruence=100%\n"},
        {"mmtime, missing with all else", only_ticks, source_mmtime, source_ticks, 1000, 0, no_mm,
         "Using OS tick counter, granularity 1000 Hz\n"},
        {"ticks", [](machine& x) { x.has_tsc = true; }, source_ticks, source_ticks, 1000, 0, "",
         "Using OS tick counter, granularity 1000 Hz\n"},
        {"interrupt", [](machine&) {}, source_interrupt, source_interrupt, 10000000, 0, "",
         "Using kernel interrupt timer, granularity 10 MHz\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        m = machine{};
        row.set_up(m);
        said.out.text.clear();
        hrtime_clock clock(fakes::machine_sources, facts);
        EXPECT_EQ(clock.mode, -1);
        EXPECT_EQ(clock.describe(), "No high-resolution timer found.\n");

        EXPECT_EQ(clock.select_source(row.requested), row.mode != source_interrupt);
        EXPECT_EQ(clock.mode, row.mode);
        EXPECT_EQ(clock.frequency, row.frequency);
        EXPECT_EQ(clock.calibrations, row.calibrations);
        EXPECT_EQ(said.out.text, row.said);
        EXPECT_EQ(clock.describe(), row.report);
        EXPECT_EQ(facts.read("hrtime"), std::wstring(row.report.begin(), row.report.end()));

        // A second of the machine is `frequency` ticks of the source that was chosen.
        const std::uint64_t before = clock.now();
        m.advance_ns(1000000000);
        const std::uint64_t ticks = clock.now() - before;
        switch (row.mode) {
        case source_tsc:
        case source_tsc_raw:
            EXPECT_EQ(ticks, m.tsc_hz_later ? m.tsc_hz_later : m.tsc_hz);
            break;
        case source_perfcnt:
            EXPECT_EQ(ticks, 10000000u);
            break;
        case source_ticks:
            EXPECT_EQ(ticks, 1000u);
            break;
        case source_mmtime:
            EXPECT_EQ(ticks, 1000u);
            break;
        default:
            EXPECT_EQ(before + ticks, 0u);
        }
    }
}

TEST_F(clock_test, the_first_reading_chooses) {
    hrtime_clock clock(fakes::machine_sources, facts);
    m.perf_hz = 1234;
    m.advance_ns(5000);
    EXPECT_EQ(clock.now(), 50u);
    EXPECT_EQ(clock.frequency, 1234u);
    EXPECT_EQ(m.calls, "+1 -1 ") << "the probe of the multimedia timer";
    clock.now();
    EXPECT_EQ(m.calls, "+1 -1 ") << "later readings choose nothing";
}

// The base stays, so the span grows; and a run that isn't the first asks for nothing.
TEST_F(clock_test, a_later_calibration_lengthens_the_span) {
    halves<1000000000, 989000000>(m);
    hrtime_clock clock(fakes::machine_sources, facts);
    clock.select_source(-1);
    EXPECT_EQ(clock.mode, source_mmtime);
    EXPECT_EQ(clock.congruence, 98900u);

    clock.select_source(-1);
    EXPECT_EQ(clock.mode, source_tsc);
    EXPECT_EQ(clock.calibrations, 2);
    EXPECT_EQ(clock.tsc_hz_second, 989000000u);
    EXPECT_EQ(clock.frequency, (500 * 1000000 + 1500 * 989000) * 1000ull / 2000);
}

// After a failure a forced choice takes the counter as it stands, at whatever rate there was.
TEST_F(clock_test, a_failed_calibration_counts) {
    halves<3000000000, 59999999>(m);
    hrtime_clock clock(fakes::machine_sources, facts);
    clock.congruence = 77;
    clock.select_source(-1);
    EXPECT_EQ(clock.congruence, 77u) << "rejected ahead of the comparison";
    EXPECT_TRUE(clock.select_source(source_tsc_raw));
    EXPECT_EQ(clock.mode, source_tsc_raw);
    EXPECT_EQ(clock.calibrations, 1);
    EXPECT_EQ(clock.frequency, 1000u);
    EXPECT_EQ(said.out.text, "");
}

TEST_F(clock_test, holds_the_finest_period_while_it_is_in_use) {
    m.mm_period = 3;
    {
        hrtime_clock clock(fakes::machine_sources, facts);
        clock.select_source(source_mmtime);
        EXPECT_TRUE(clock.period_held);
        EXPECT_EQ(clock.period, 3u);
        EXPECT_EQ(m.calls, "+3 -3 +3 ");
        clock.select_source(source_ticks);
        EXPECT_FALSE(clock.period_held);
        EXPECT_EQ(m.calls, "+3 -3 +3 +3 -3 -3 ");
        m.calls.clear();
        clock.select_source(source_mmtime);
    }
    EXPECT_EQ(m.calls, "+3 -3 +3 -3 ") << "dropped at the end too";
}

TEST_F(clock_test, monotonic_readings) {
    m.has_tsc = true;
    hrtime_clock clock(fakes::machine_sources, facts);
    clock.select_source(source_tsc);
    const std::uint64_t raw[] = {100, 100, 90, 91, 200, 50, 50};
    const std::uint64_t results[] = {100, 101, 102, 103, 212, 213, 214};
    m.tsc_script.assign(std::begin(raw), std::end(raw));
    for (const std::uint64_t result : results)
        EXPECT_EQ(clock.now(), result);

    clock.select_source(source_tsc_raw);
    m.tsc_script.assign(std::begin(raw), std::end(raw));
    for (const std::uint64_t result : raw)
        EXPECT_EQ(clock.now(), result);
}

TEST(time_source_names, both_ways) {
    const char* const names[] = {"unknown", "tsc",     "perfcnt", "ticks",  "interrupt",
                                 "tsc_raw", "unknown", "mmtime",  "unknown"};
    for (std::int32_t i = 0; i < 9; ++i) {
        EXPECT_EQ(time_source_names.name(i), names[i]);
        EXPECT_EQ(time_source_names.has(i), i != 0 && i != 6 && i != 8);
        EXPECT_EQ(time_source_names.value(names[i]), time_source_names.has(i) ? i : 0);
    }
    EXPECT_EQ(time_source_names.value("TSC"), 0);
}

TEST(elapsed_ns, stays_inside_64_bits) {
    EXPECT_EQ(elapsed_ns(0, 10000000), 0u);
    EXPECT_EQ(elapsed_ns(2, 3), 666666666u);
    EXPECT_EQ(elapsed_ns(3579545ull * 86400 * 365 + 1, 3579545), 86400ull * 365 * 1000000000 + 279);
    // 100 years at 5 GHz, whose product with 10^9 has 94 bits.
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
std::int32_t query_resolution(std::uint32_t* coarsest, std::uint32_t* finest, std::uint32_t* current) {
    *coarsest = 156250;
    *finest = 5000;
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
        if (std::string_view(function) == "NtSetTimerResolution" && nt.has_set)
            return reinterpret_cast<entry_point>(set_resolution);
        return nullptr;
    },
    [] { return std::wstring(L"S:\\"); },
    [] { return std::wstring(L"W:\\"); },
};

} // namespace

TEST(nt_timer_resolution, binds_on_use_and_releases) {
    const struct {
        const char* name;
        bool has_set, query, held;
        std::int32_t status;
        std::uint32_t current;
        std::string calls;
    } rows[] = {
        {"nothing is bound ahead of its use", true, false, false, 0, 0, ""},
        {"a query", true, true, false, 0, 10001, "load free "},
        {"a query that fails", true, true, false, -1073741823, 0, "load free "},
        {"both functions or none", false, true, true, 0, 0, "load free load free "},
        {"what is held is given back", true, true, true, 0, 10001, "load set00- free "},
        {"also when it has to be bound for that", true, false, true, 0, 0, "load set00- free "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        nt = {row.has_set, row.status, ""};
        library_table table(nt_calls);
        {
            nt_timer_resolution resolution(table);
            resolution.held = row.held;
            if (row.query) {
                EXPECT_EQ(resolution.current(), row.current);
                EXPECT_EQ(resolution.current(), row.current);
            }
        }
        EXPECT_EQ(nt.calls, row.calls);
    }
}
