#include "cl/os/message_box.hpp"

#include <windows.h>

namespace cl::os {

void message_box(const char* text, const char* caption, std::uint32_t style) {
    MessageBoxA(nullptr, text, caption, style);
}

void message_box(const wchar_t* text, const wchar_t* caption, std::uint32_t style) {
    MessageBoxW(nullptr, text, caption, style);
}

} // namespace cl::os
