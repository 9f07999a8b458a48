#include "host/mode_calls.hpp"

#include <objbase.h>
#include <windows.h>

namespace vfl {

void initialize_com() {
    // Where it fails the installation says so itself.
    static_cast<void>(CoInitialize(nullptr));
}

void uninitialize_com() {
    CoUninitialize();
}

} // namespace vfl
