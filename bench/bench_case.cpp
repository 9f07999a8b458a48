#include "bench_case.hpp"

#include <benchmark/benchmark.h>
#include <valgrind/callgrind.h>

#include <string_view>

int run_bench(int argc, char** argv, const std::vector<bench_case>& cases) {
    const auto prepare = [](const bench_case& c) {
        if (c.prepare)
            c.prepare();
    };
    if (argc > 1 && argv[1] == std::string_view("--count")) {
        for (const bench_case& c : cases) {
            // The first run pays for late binding and for the allocator's first pages.
            for (const bool counted : {false, true}) {
                prepare(c);
                if (counted) {
                    CALLGRIND_START_INSTRUMENTATION;
                }
                c.run();
                if (counted) {
                    CALLGRIND_DUMP_STATS_AT(c.name.c_str());
                    CALLGRIND_STOP_INSTRUMENTATION;
                }
            }
        }
        return 0;
    }
    for (const bench_case& c : cases)
        benchmark::RegisterBenchmark(c.name.c_str(), [&](benchmark::State& state) {
            for (auto _ : state) {
                if (c.prepare) {
                    state.PauseTiming();
                    c.prepare();
                    state.ResumeTiming();
                }
                c.run();
            }
        });
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
