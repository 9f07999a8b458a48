// One measured piece of work, and the main function of a benchmark executable: without arguments, or with
// those of Google Benchmark, it measures times; with --count, under callgrind, it runs each case once for its
// instructions (scripts/count.sh prints them).
#pragma once

#include <functional>
#include <string>
#include <vector>

struct bench_case {
    std::string name;
    std::function<void()> prepare; // not measured, runs ahead of each run; may be empty
    std::function<void()> run;
};

int run_bench(int argc, char** argv, const std::vector<bench_case>& cases);
