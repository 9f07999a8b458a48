// Code pages. Wide strings hold UTF-16 code units on every system, one to a wchar_t.
// All functions may be called from any thread.
#pragma once

#include <cstddef>
#include <cstdint>

namespace cl::os {

// Converts n bytes of code page `cp` (0 = the ANSI code page) to UTF-16. Without a buffer (cap 0) the result
// is the length in code units that the text needs; with one, the number of units written to dst. 0 on
// failure, also when dst is too small, and for n = 0.
std::size_t to_utf16(std::uint32_t cp, const char* src, std::size_t n, wchar_t* dst, std::size_t cap);

// The way back: n code units to bytes of code page `cp`, under the same rules. Characters that the code page
// lacks become its default character.
std::size_t from_utf16(std::uint32_t cp, const wchar_t* src, std::size_t n, char* dst, std::size_t cap);

// Converts the zero-terminated ANSI text src, with its terminator, to the OEM code page. dst must hold four
// bytes for each byte of src and one more.
void ansi_to_oem(const char* src, char* dst);

} // namespace cl::os
