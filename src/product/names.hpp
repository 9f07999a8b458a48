// What the product is called on a machine: the names that its programs share.
#pragma once

#include <cstdint>

namespace vfl {

// The folder below "Vexa" in the data folder of all users, and the registry key with `install_dir`. Windows
// doesn't distinguish its case from the one that other keys of the product use.
inline constexpr wchar_t product_word[] = L"vexaflow";

// The Windows service.
inline constexpr char service_name[] = "VexaFlowS";
inline constexpr wchar_t wide_service_name[] = L"VexaFlowS";

// In the data folder.
inline constexpr wchar_t settings_file_name[] = L"global.ini";
inline constexpr wchar_t log_file_name[] = L"trace.txt";
inline constexpr wchar_t old_log_file_name[] = L"trace_old.txt";

// The settings' section that vfl.exe reads itself, and its keys.
inline constexpr wchar_t host_section[] = L"param";
inline constexpr wchar_t trace_key[] = L"trace";
inline constexpr wchar_t max_trace_size_key[] = L"max_trace_size";

// Bytes at which the log is rotated, unless max_trace_size says otherwise.
inline constexpr std::uint64_t default_max_trace_size = 0xA10000;

} // namespace vfl
