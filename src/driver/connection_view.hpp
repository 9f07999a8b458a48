// The console listing of the driver's connections.
#pragma once

#include "cl/os/device.hpp"

namespace vfl {

// Asks the driver for its connections and writes the table of all that are known to trace_out, once, or with
// `ever` once a second for ever; entries then stay from one table to the next, also when they have ended.
// Nothing is written for no connections. With `hex` the reply's bytes come first, as a dump. A failed request
// writes "error N" to trace_out, after the transport's own message. `time` as for ioctl_bin_command.
//
// Returns 0 when the request succeeded, else 1. With `ever` it returns only when nobody reads the pipe any
// more to which it writes, and then 0. The device stays the caller's.
int run_connection_view(cl::os::device_handle device, bool ever, bool hex, bool time);

} // namespace vfl
