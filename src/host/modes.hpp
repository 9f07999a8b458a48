// The seven named modes. Each runs on the thread of `main` and returns the exit code.
#pragma once

#include "host/main_options.hpp"

#include <vector>

namespace vfl {

// Refuses to run below Windows 7, with a message and false. Otherwise finds the folders and the service
// library.
bool prepare_host();

// `extra_args` are the arguments that no option claimed, for the calibrations.
int run_mode_of(run_mode mode, const std::vector<wchar_t*>& extra_args);

} // namespace vfl
