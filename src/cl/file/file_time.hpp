// The packed time stamp of a file. Any thread may call.
#pragma once

#include "cl/os/file.hpp"

#include <cstdint>

namespace cl {

// Two stamps order like the times that they stand for. From the highest bit: year 12 bits, month 4, day 5,
// hour 5, minute 6, second 6, millisecond 10, and 16 zero bits.
using packed_time = std::uint64_t;

// Packs a time in units of 100 ns since 1601. False, and `out` unset, for a time of 2^63 or more.
bool pack_file_time(std::uint64_t time, packed_time& out);

// The time of the last write of the file that `path` (zero-terminated) names, in UTC or in local time. Opens
// it for reading, shared with readers and writers. On failure false, and `out` stays as it was.
bool file_write_time(const wchar_t* path, packed_time& out, bool utc);

// The same of an open file.
bool file_write_time(os::file_handle file, packed_time& out, bool utc);

} // namespace cl
