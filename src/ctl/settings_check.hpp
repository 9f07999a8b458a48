// What in a settings file doesn't mean what its author thinks.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vfl::ctl {

// One sentence for each finding, with the number of its line, the first being 1; foreign text in it is not
// cleaned. `bytes` is the file.
std::vector<std::wstring> check_settings(std::string_view bytes);

} // namespace vfl::ctl
