// Every process-wide object that is built at run time, in the order in which they must be constructed.
// Destruction is the reverse. No other file has a dynamic initialiser or a global with a destructor; the
// build checks it.
//
// What other threads may still touch at the end (the lists, the timer, the library table, the records of
// system and processor) is shut down here, or stays as it is, and is never destroyed.
#include "cl/file/random_gen.hpp"
#include "cl/format/json_tokens.hpp"
#include "cl/ini/cached_ini.hpp"
#include "cl/log/trace_set_up.hpp"
#include "cl/os/never_destroyed.hpp"
#include "cl/sys/cpu_info.hpp"
#include "cl/sys/entropy.hpp"
#include "cl/sys/library_table.hpp"
#include "cl/sys/os_info.hpp"
#include "cl/sys/scrambled_bindings.hpp"
#include "cl/sys/seed_text.hpp"
#include "cl/time/hrtime.hpp"
#include "cl/time/passive_timer.hpp"
#include "cl/trace/console.hpp"
#include "cl/trace/console_trace.hpp"
#include "cl/trace/stream_trace.hpp"
#include "host/host_state.hpp"
#include "version.h"

#include <cstdlib>
#include <random>
#include <string>

namespace {

constinit cl::never_destroyed<cl::passive_timer> slow;
constinit cl::never_destroyed<cl::file_trace> log_place;
constinit cl::never_destroyed<std::wstring> dll_path_place;

} // namespace

namespace cl {

// vfl.exe is a console application in every mode.
constinit bool console_application = true;

file_trace& trace_file = *log_place;

} // namespace cl

namespace {

// The very first, before every trace object: the defaults of this executable, and the last resort of the
// log, which as the first exit function to be registered is the last to run.
struct trace_defaults {
    trace_defaults() {
        cl::trace_separator = false;
        cl::default_stamp_format.ms_format = "-%03?";
        static_cast<void>(std::atexit([] { cl::trace_file.close_now(); })); // room for 32 is guaranteed
    }
} set_trace_defaults;

// Before everything that asks Windows: whoever opens a registry key takes the registry's view from the
// record.
struct os_setup {
    os_setup() { cl::fill_os_info(cl::read_os_facts()); }
} set_up_os;

// The timer "slow" runs all that may be late. It comes before everything that arms it, so that it ends
// after that.
struct slow_life {
    slow_life() { slow.create("slow"); }
    // Ends the worker, with a kill after 5 s, and drops what has not fired: whose work must not be lost does
    // it itself before this.
    ~slow_life() { slow->shut_down(); }
    slow_life(const slow_life&) = delete;
    slow_life& operator=(const slow_life&) = delete;
} live_slow;

// The handles and window of the console come first: the stream sinks write through them.
struct console_setup {
    console_setup() { cl::init_console(); }
} set_up_console;

// The sinks come before the lists, so that they outlive them.
cl::debug_trace debugger_sink("");

struct log_life {
    log_life() { log_place.create(&*slow); }
    ~log_life() { cl::trace_file.shut_down(); }
    log_life(const log_life&) = delete;
    log_life& operator=(const log_life&) = delete;
} live_log;

// In no list.
[[maybe_unused]] cl::console_trace console_sink;
cl::stdout_trace stdout_sink;
cl::stderr_trace stderr_sink;

// Fills the lists, and ends them before the sinks. Everything below may trace, also in its constructor.
struct list_setup {
    list_setup() { cl::set_up_trace(cl::trace_file, debugger_sink, stdout_sink, stderr_sink); }
    ~list_setup() {
        cl::trace_end(cl::trace_log);
        cl::trace_end(cl::trace_out);
        cl::trace_end(cl::trace_err);
    }
    list_setup(const list_setup&) = delete;
    list_setup& operator=(const list_setup&) = delete;
} set_up_lists;

// Before everything that is bound at run time, and so before everything below.
struct library_setup {
    library_setup() { cl::create_libraries(cl::windows_modules); }
} set_up_libraries;
cl::scrambled_bindings scrambled;

// The clock and the seeds read it.
struct cpu_setup {
    cpu_setup() { cl::fill_cpu_info(); }
} set_up_cpu;

} // namespace

namespace cl {

// After the records and the library table, which it asks when it chooses its source at the first reading.
// The store comes first, because the clock writes there.
fact_store system_facts;
hrtime_clock hrtime(windows_clock_sources, system_facts);

// From its default seed; the next object seeds it.
std::mt19937 twister; // NOLINT(cert-msc32-c,cert-msc51-cpp)

} // namespace cl

namespace {

// After the records and the library table, whose facts they mix, and after the clock. Each of the three
// takes a digest of its own.
struct seed_setup {
    seed_setup() {
        cl::backoff_rng.seed(cl::new_seed());
        cl::name_rng.seed(cl::new_seed());
        cl::seed_twister(cl::twister, cl::entropy_text(false));
    }
} set_up_seeds;

// The first line of every run, as soon as there is a log for it.
struct start_banner {
    start_banner() {
        trace_write(&cl::trace_log, "srv: ------ VexaFlow (x64) service v" VFL_VERSION " starting ------\n");
    }
} say_start;

} // namespace

namespace vfl {

std::wstring install_dir;
std::wstring data_dir;
// Never destroyed: a start of the service library may still run beside the end of the process.
std::wstring& dll_path = dll_path_place.create();
constinit bool game_analyzer_requested = false;

} // namespace vfl

namespace cl {

// After the timer and the log, which its last flush at the end uses.
cached_ini global_ini(*slow);

// They use nothing and nothing here uses them.
const jctrl<'{', 5> json_open_object;
const jctrl<'}', 6> json_close_object;
const jctrl<'[', 5> json_open_array;
const jctrl<']', 6> json_close_array;
const jctrl<'\n', 24> json_line_break;

} // namespace cl

namespace {

// The last, so that its end is the first act of the end, while all is still there: the log goes to the disk,
// and what is due by then is called. A callback that never returns blocks the end of the process here.
struct exit_hook {
    exit_hook() = default;
    ~exit_hook() {
        cl::libraries.begin_end();
        if (slow->worker_lost())
            debugger_sink.give_up_dead_lock();
        cl::trace_file.finish();
        slow->flush_sweep(5000);
    }
    exit_hook(const exit_hook&) = delete;
    exit_hook& operator=(const exit_hook&) = delete;
} at_exit;

} // namespace
