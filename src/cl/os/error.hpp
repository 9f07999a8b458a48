// The system's error numbers that code here tells apart, sets or expects. They are those of Windows on every
// system; 0 is success.
#pragma once

#include <cstdint>

namespace cl::os {

inline constexpr std::uint32_t error_not_found = 2; // a file
inline constexpr std::uint32_t error_path_not_found = 3;
inline constexpr std::uint32_t error_too_many_open_files = 4;
inline constexpr std::uint32_t error_access_denied = 5;
inline constexpr std::uint32_t error_invalid_handle = 6;
inline constexpr std::uint32_t error_not_enough_memory = 8;
inline constexpr std::uint32_t error_outofmemory = 14;
inline constexpr std::uint32_t error_not_same_device = 17;
inline constexpr std::uint32_t error_gen_failure = 31; // a device fails; also what has no other number
inline constexpr std::uint32_t error_sharing = 32;
inline constexpr std::uint32_t error_not_supported = 50;
inline constexpr std::uint32_t error_exists = 80; // a file that was to be new
inline constexpr std::uint32_t error_invalid_parameter = 87;
inline constexpr std::uint32_t error_disk_full = 112;
inline constexpr std::uint32_t error_call_not_implemented = 120;
inline constexpr std::uint32_t error_insufficient_buffer = 122;
inline constexpr std::uint32_t error_invalid_name = 123;
inline constexpr std::uint32_t error_module_not_found = 126;   // a library, or one that it needs
inline constexpr std::uint32_t error_function_not_found = 127; // in a library
inline constexpr std::uint32_t error_negative_seek = 131;
inline constexpr std::uint32_t error_already_exists = 183; // the target of a rename
inline constexpr std::uint32_t error_bad_image = 193;      // no library, or one for another processor
inline constexpr std::uint32_t error_filename_too_long = 206;
inline constexpr std::uint32_t error_service_not_active = 1062;
inline constexpr std::uint32_t error_library_start_failed = 1114;
inline constexpr std::uint32_t error_remote_session_limit = 1220;
inline constexpr std::uint32_t error_bad_configuration = 1610;
inline constexpr std::uint32_t error_invalid_state = 5023;

} // namespace cl::os
