// Starting and stopping the service library. Each on one thread at a time; a stop may run beside a start.
#pragma once

namespace vfl {

// Loads the library from dll_path, starts it and keeps it loaded. False, and said on trace_out, when it can't
// be loaded or lacks the function; false also when the library says so itself.
bool start_service();

// Stops the library and lets go of it. That unloads it, unless a start is still inside: it waits for nobody,
// and the start lets go of the library when it returns. A start that hasn't bound the library yet goes on all
// the same, and holds it to the end of the process. Safe when no start was tried or has succeeded.
void stop_service();

} // namespace vfl
