// The service takes its data folder back from an account that made it first.
#pragma once

#include <string>

namespace vfl {

// Looks at the folder and at the one above it, and sets the rights of those that belong to neither SYSTEM nor
// the administrators. Says so in the trace, and says what failed. Does nothing without administrator's rights
// or without a folder. Called when the host is configured, so that what it says comes to the log.
void check_data_folder(const std::wstring& path);

} // namespace vfl
