// Every process-wide object that is built at run time, in the order in which they must be constructed.
// Destruction is the reverse. No other file has a dynamic initialiser or a global with a destructor; the
// build checks it.
//
// What other threads may still touch at the end (the lists, the timer, the library table, the records of
// system and processor) is shut down here, or stays as it is, and is never destroyed.
#include "cl/sys/cpu_info.hpp"
#include "cl/sys/library_table.hpp"
#include "cl/sys/os_info.hpp"
#include "cl/sys/scrambled_bindings.hpp"
#include "cl/time/passive_timer.hpp"
#include "cl/trace/list/console.hpp"
#include "cl/trace/list/stream_trace.hpp"
#include "cl/trace/list/trace_list.hpp"

#include <new>
#include <string>

namespace cl {

// vfl.exe is a console application in every mode.
constinit bool console_application = true;

} // namespace cl

namespace {

// First of all: whoever opens a registry key takes the registry's view from the record.
struct os_setup {
    os_setup() { cl::fill_os_info(cl::read_os_facts()); }
} set_up_os;

// The timer "slow" runs all that may be late. It comes ahead of everything that arms it, so that it ends
// after that. Its place is constant-initialised: an object that is, too, may point to it.
union slow_place {
    constexpr slow_place() : nothing{} {}
    constexpr ~slow_place() {}
    char nothing;
    cl::passive_timer timer;
};
constinit slow_place slow;

struct slow_life {
    slow_life() { new (&slow.timer) cl::passive_timer("slow"); }
    // Ends the worker, with a kill after 5 s, and drops what has not fired: whose work must not be lost does
    // it itself ahead of this.
    ~slow_life() { slow.timer.shut_down(); }
    slow_life(const slow_life&) = delete;
    slow_life& operator=(const slow_life&) = delete;
} live_slow;

// The handles and window of the console come first: the stream sinks write through them.
struct console_setup {
    console_setup() { cl::init_console(); }
} set_up_console;

// The sinks stand ahead of the lists, so that they outlive them.
cl::stdout_trace stdout_sink;
cl::stderr_trace stderr_sink;

// Fills the lists, and ends them ahead of the sinks. Everything below may trace, also in its constructor.
struct list_setup {
    list_setup() {
        if (cl::console_application) {
            cl::trace_add(&cl::trace_out, &stdout_sink);
            cl::trace_add(&cl::trace_err, &stderr_sink);
        }
        cl::trace_write(&cl::trace_out, cl::trace_early.text);
        cl::trace_early.count = 0;
    }
    ~list_setup() {
        cl::trace_end(cl::trace_log);
        cl::trace_end(cl::trace_out);
        cl::trace_end(cl::trace_err);
    }
    list_setup(const list_setup&) = delete;
    list_setup& operator=(const list_setup&) = delete;
} set_up_lists;

// Ahead of everything that is bound at run time, and so of everything below.
struct library_setup {
    library_setup() { cl::create_libraries(cl::windows_modules); }
} set_up_libraries;
cl::scrambled_bindings scrambled;

// The clock and the seeds read it.
struct cpu_setup {
    cpu_setup() { cl::fill_cpu_info(); }
} set_up_cpu;

// The last, so that its end is the first act of the end: what is due by then is called while all is still
// there. A callback that never returns blocks the end of the process here.
struct exit_hook {
    exit_hook() = default;
    ~exit_hook() { slow.timer.flush_sweep(5000); }
    exit_hook(const exit_hook&) = delete;
    exit_hook& operator=(const exit_hook&) = delete;
} at_exit;

} // namespace
