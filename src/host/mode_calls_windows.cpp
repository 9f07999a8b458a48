#include "host/mode_calls.hpp"

#include <conio.h>
#include <objbase.h>
#include <windows.h>

namespace vfl {

void wait_for_key() {
    _getwch();
}

void initialize_com() {
    // Where it fails the installation says so itself.
    static_cast<void>(CoInitialize(nullptr));
}

void uninitialize_com() {
    CoUninitialize();
}

} // namespace vfl
