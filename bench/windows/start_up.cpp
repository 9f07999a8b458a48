// What the process-wide objects cost at the start of every command, one by one in their order, and what a
// reading of the clock costs beside the system's call. Each number is of one cold run of this process. With
// an argument: what an otherwise empty program pays for one thread that it waits for, which is the system's
// own part.
#include "cl/file/random_gen.hpp"
#include "cl/ini/cached_ini.hpp"
#include "cl/log/trace_set_up.hpp"
#include "cl/sys/cpu_info.hpp"
#include "cl/sys/entropy.hpp"
#include "cl/sys/library_table.hpp"
#include "cl/sys/os_info.hpp"
#include "cl/sys/scrambled_bindings.hpp"
#include "cl/sys/seed_text.hpp"
#include "cl/time/hrtime.hpp"
#include "cl/trace/console.hpp"
#include "cl/trace/stream_trace.hpp"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <random>
#include <windows.h>

namespace {

std::uint64_t counter() {
    LARGE_INTEGER value;
    QueryPerformanceCounter(&value);
    return static_cast<std::uint64_t>(value.QuadPart);
}

double ms_since(std::uint64_t begin) {
    LARGE_INTEGER hz;
    QueryPerformanceFrequency(&hz);
    return static_cast<double>(counter() - begin) * 1000 / static_cast<double>(hz.QuadPart);
}

double total_ms = 0;

template <class Step>
void measure(const char* name, Step step) {
    const std::uint64_t begin = counter();
    step();
    const double ms = ms_since(begin);
    total_ms += ms;
    std::printf("%-40s %9.3f ms\n", name, ms);
}

// Nanoseconds a call: the best of twenty rounds.
template <class Call>
double best_ns(Call call) {
    constexpr int calls = 100000;
    double best = 1e9;
    for (int round = 0; round < 20; ++round) {
        const std::uint64_t begin = counter();
        for (int i = 0; i < calls; ++i)
            call();
        best = std::min(best, ms_since(begin) * 1e6 / calls);
    }
    return best;
}

std::optional<cl::passive_timer> slow;
std::optional<cl::debug_trace> debugger;
std::optional<cl::file_trace> log_file;
std::optional<cl::scrambled_bindings> scrambled;
std::optional<cl::cached_ini> settings;
cl::stdout_trace out;
cl::stderr_trace err;
cl::fact_store facts;

DWORD WINAPI set_event(void* event) {
    SetEvent(event);
    return 0;
}

void one_bare_thread() {
    const HANDLE begun = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE thread = CreateThread(nullptr, 0, set_event, begun, 0, nullptr);
    WaitForSingleObject(begun, INFINITE);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    CloseHandle(begun);
}

} // namespace

namespace cl {

constinit bool console_application = true;
std::mt19937 twister;
hrtime_clock hrtime(windows_clock_sources, facts);

} // namespace cl

int main(int argc, char**) {
    if (argc > 1) {
        measure("an empty program with one thread", one_bare_thread);
        return 0;
    }
    measure("operating system record", [] { cl::fill_os_info(cl::read_os_facts()); });
    measure("timer \"slow\" with its worker", [] { slow.emplace("slow"); });
    measure("console state", [] { cl::init_console(); });
    measure("sinks, lists and their set-up", [] {
        debugger.emplace("");
        log_file.emplace(&*slow);
        cl::set_up_trace(*log_file, *debugger, out, err);
    });
    measure("library table", [] { cl::create_libraries(cl::windows_modules); });
    measure("scrambled bindings", [] { scrambled.emplace(); });
    measure("processor record", [] { cl::fill_cpu_info(); });
    measure("settings, nothing attached", [] { settings.emplace(*slow); });
    std::printf("%-40s %9.3f ms\n", "all but the seeds", total_ms);
    measure("seed of backoff_rng", [] { cl::backoff_rng.seed(cl::new_seed()); });
    measure("seed of name_rng", [] { cl::name_rng.seed(cl::new_seed()); });
    measure("seed of twister", [] { cl::seed_twister(cl::twister, cl::entropy_text(false)); });
    measure("first reading of the clock (-time only)", [] { cl::hrtime.now(); });

    volatile std::uint64_t sink = 0;
    std::printf("%s\n", cl::hrtime.describe().c_str());
    for (const auto source : {cl::source_automatic, cl::source_perfcnt}) {
        cl::hrtime.select_source(source);
        const double ours = best_ns([&] { sink = cl::hrtime.now(); });
        const double theirs = best_ns([&] { sink = counter(); });
        std::printf("reading, source %d: %.1f ns, QueryPerformanceCounter %.1f ns, ratio %.2f\n",
                    static_cast<int>(cl::hrtime.mode.load()), ours, theirs, ours / theirs);
    }
}
