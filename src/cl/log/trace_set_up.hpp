// How the three lists get their sinks, before `main`.
#pragma once

#include "cl/log/debug_trace.hpp"
#include "cl/log/file_trace.hpp"

namespace cl {

// Whether each run begins with a separator line in the log. An executable changes it before the set-up.
extern bool trace_separator;

// The process's log, which all three lists hold. Usable from its construction before `main` on, and never
// destroyed: it is shut down at the end of the process, and refuses text from then on.
extern file_trace& trace_file;

// trace_err gets the debugger, the log and, in a console application, standard error; trace_out the log and
// standard output; trace_log the log alone. Then the separator and what was said too early go out.
void set_up_trace(file_trace& log, debug_trace& debugger, trace_base& standard_output,
                  trace_base& standard_error);

} // namespace cl
