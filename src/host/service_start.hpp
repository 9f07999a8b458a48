// Starting and stopping the service library. One thread at a time; no lock.
#pragma once

namespace vfl {

// Loads the library from dll_path, starts it and keeps it loaded. False, told on trace_out, when it can't be
// loaded, lacks the function, or says so itself.
bool start_service();

// Stops the library and lets go of it, which unloads it. Safe when no start was tried or has succeeded.
void stop_service();

} // namespace vfl
