// The two forms of text that the system keeps, and the ways between them: UTF-16 for paths and configuration,
// bytes (ANSI or UTF-8) for messages. None of these reports a failure: a conversion that fails gives an empty
// or a shorter text. All may be called from any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace cl {

// Bytes of code page `cp` (0 = the ANSI code page) to UTF-16. Goes by length: zeros in the text are kept.
std::wstring narrow_to_wide(std::string_view s, std::uint32_t cp);

// UTF-16 to bytes of code page `cp`. The first and the last form go by length; z is zero-terminated. A null
// pointer gives an empty string.
std::string wide_to_narrow(std::wstring_view s, std::uint32_t cp);
std::string wide_to_narrow(const wchar_t* z, std::uint32_t cp);
std::string wide_to_narrow(const wchar_t* p, std::size_t n, std::uint32_t cp);

// The same between zero-terminated ANSI and UTF-16 texts, into the caller's array of dst_chars characters
// (dst_bytes bytes). Both truncate in silence, even in the middle of a multi-byte character, and always end
// dst with a zero in its last place. A null src gives an empty string; a null dst or a size of 0 or less
// changes nothing. Both return dst.
wchar_t* ansi_to_wide_buf(wchar_t* dst, const char* src, std::int64_t dst_chars);
char* wide_to_ansi_buf(char* dst, const wchar_t* src, std::int64_t dst_bytes);

// UTF-16 to UTF-8 without the operating system. A high surrogate waits for a low one, over other characters
// too; one that finds none is lost. A low surrogate alone goes out as three bytes. z is zero-terminated, and
// null gives an empty string.
std::string utf16_to_utf8(std::wstring_view s);
std::string utf16_to_utf8(const wchar_t* z);

} // namespace cl
