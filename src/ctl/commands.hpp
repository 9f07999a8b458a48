// The commands. Each gets a command line that fits the table, writes to `out` and returns the exit code.
#pragma once

#include "ctl/options.hpp"
#include "ctl/output.hpp"

namespace vfl::ctl {

inline constexpr int exit_done = 0, exit_failed = 1, exit_broken = 2, exit_usage = 64;

int run_explain(const arguments& args, output& out);
int run_doctor(const arguments& args, output& out);
int run_service(const arguments& args, output& out);
int run_log(const arguments& args, output& out);
int run_ini(const arguments& args, output& out);

} // namespace vfl::ctl
