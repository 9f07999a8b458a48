#include "ctl/local_time.hpp"

#include <windows.h>

namespace vfl::ctl {

namespace {

constexpr std::int64_t units_to_1970 = 116444736000000000; // from 1601
constexpr std::int64_t units_per_ms = 10000, ms_per_minute = 60000;

std::int64_t units(const SYSTEMTIME& time) {
    FILETIME file{};
    SystemTimeToFileTime(&time, &file);
    return static_cast<std::int64_t>((std::uint64_t{file.dwHighDateTime} << 32) | file.dwLowDateTime);
}

SYSTEMTIME fields(std::uint64_t file_time) {
    const FILETIME file{static_cast<DWORD>(file_time), static_cast<DWORD>(file_time >> 32)};
    SYSTEMTIME time{};
    FileTimeToSystemTime(&file, &time);
    return time;
}

} // namespace

local_ms to_local(std::uint64_t file_time) {
    const SYSTEMTIME utc = fields(file_time);
    SYSTEMTIME local{};
    if (!SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local))
        local = utc;
    return (units(local) - units_to_1970) / units_per_ms;
}

local_ms local_now() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    return (units(now) - units_to_1970) / units_per_ms;
}

int utc_offset_minutes(local_ms time) {
    const SYSTEMTIME local = fields(static_cast<std::uint64_t>(time * units_per_ms + units_to_1970));
    SYSTEMTIME utc{};
    if (!TzSpecificLocalTimeToSystemTime(nullptr, &local, &utc))
        return 0;
    return static_cast<int>((units(local) - units(utc)) / units_per_ms / ms_per_minute);
}

} // namespace vfl::ctl
