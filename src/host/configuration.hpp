// The settings that the host reads itself, from section "param" of global.ini: "trace" (0 turns the log off)
// and "max_trace_size" (bytes at which the log is rotated).
#pragma once

namespace vfl {

// Attaches the process's settings to global.ini in data_dir and configures the log from them. Called once, by
// the modes that host the service, before everything else that they do.
void configure_host();

// The second half of it.
void configure_trace();

} // namespace vfl
