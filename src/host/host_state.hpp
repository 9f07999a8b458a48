// What the host knows process-wide. Defined in process_objects.cpp, written by the thread of `main` before
// the mode, and only read from then on.
#pragma once

#include <string>

namespace vfl {

extern std::wstring install_dir; // ends in a backslash, or is empty
extern std::wstring data_dir;    // the same
extern std::wstring& dll_path; // of the service library; a bare name is looked for in the system folders only
extern bool game_analyzer_requested;

} // namespace vfl
