// Every process-wide object that is built at run time, in the order in which they must be constructed.
// Destruction is the reverse. No other file has a dynamic initialiser or a global with a destructor; the
// build checks it.
//
// What other threads may still touch at the end (the lists) is shut down here and never destroyed.
#include "cl/trace/list/console.hpp"
#include "cl/trace/list/stream_trace.hpp"
#include "cl/trace/list/trace_list.hpp"

#include <string>

namespace cl {

// vfl.exe is a console application in every mode.
constinit bool console_application = true;

} // namespace cl

namespace {

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

} // namespace
