#include "cl/os/debugger.hpp"

#include <windows.h>

namespace cl::os {

void debug_text(const char* text) {
    OutputDebugStringA(text);
}
void debug_text(const wchar_t* text) {
    OutputDebugStringW(text);
}

} // namespace cl::os
