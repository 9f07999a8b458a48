// vflctl ini: reads and changes a settings file by the same classes as the product, so that both merge.
#pragma once

#include "ctl/options.hpp"
#include "ctl/output.hpp"

#include <string>

namespace vfl::ctl {

// Runs list, get, set or unset on the file of that path. The timer's thread isn't used: a change is flushed
// at once.
int run_ini_on(const std::wstring& path, const arguments& args, output& out);

// Why the format can't hold such a section, key or value; empty when it can.
std::wstring why_not_a_section(std::wstring_view name);
std::wstring why_not_a_key(std::wstring_view key);
std::wstring why_not_a_value(std::wstring_view value);

} // namespace vfl::ctl
