// The debugger of cl/os/debugger.hpp: keeps what it is told. Not thread-safe.
#pragma once

#include <string>
#include <vector>

namespace fakes {

struct debugger {
    static std::vector<std::string>& narrow();
    static std::vector<std::wstring>& wide();
};

} // namespace fakes
