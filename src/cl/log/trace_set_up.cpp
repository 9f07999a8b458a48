#include "cl/log/trace_set_up.hpp"

#include "cl/trace/stream_trace.hpp"

namespace cl {

constinit bool trace_separator = true;

namespace {

// While there is no path yet, the ring holds up to 16 MiB, and a writer comes to the disk at 128 KiB.
constexpr std::int32_t ring_min = 0x40000, ring_max = 0x1000000, flush_at = 0x20000;

constexpr char separator[] = "\n\n----------------------------------------------------------------\n\n";

} // namespace

void set_up_trace(file_trace& log, debug_trace& debugger, trace_base& standard_output,
                  trace_base& standard_error) {
    log.set_buffer(ring_min, ring_max, flush_at, true);
    log.set_stamps(true, true);
    trace_add(&trace_err, &debugger);
    trace_add(&trace_err, &log);
    trace_add(&trace_out, &log);
    trace_add(&trace_log, &log);
    if (console_application) {
        trace_add(&trace_out, &standard_output);
        trace_add(&trace_err, &standard_error);
    }
    if (trace_separator)
        trace_write(&trace_log, separator);
    trace_write(&trace_out, trace_early.take().c_str());
}

} // namespace cl
