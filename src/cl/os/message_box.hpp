// A message for whoever sits at the screen. Real on Windows; natively the tests' stand-in takes its place.
#pragma once

#include <cstdint>

namespace cl::os {

// Shows a box without an owner window and returns when it is closed. `style` holds the system's own bits;
// these are an exclamation icon and an OK button.
inline constexpr std::uint32_t box_exclamation = 48;
void message_box(const char* text, const char* caption, std::uint32_t style);
void message_box(const wchar_t* text, const wchar_t* caption, std::uint32_t style);

} // namespace cl::os
