#include "cl/file/file_time.hpp"

#include <chrono>

namespace cl {

bool pack_file_time(std::uint64_t time, packed_time& out) {
    if (time >> 63)
        return false;
    constexpr std::uint64_t units_per_ms = 10000;
    constexpr std::uint64_t ms_per_day = 86400000;
    const std::uint64_t ms = time / units_per_ms;
    constexpr std::chrono::sys_days start = std::chrono::year(1601) / 1 / 1;
    const std::chrono::year_month_day date = start + std::chrono::days(ms / ms_per_day);
    const std::uint64_t rest = ms % ms_per_day;
    const auto year = static_cast<std::uint64_t>(static_cast<int>(date.year()));
    out = year << 52 | std::uint64_t{unsigned(date.month())} << 48 |
          std::uint64_t{unsigned(date.day())} << 43 | rest / 3600000 << 38 | rest / 60000 % 60 << 32 |
          rest / 1000 % 60 << 26 | rest % 1000 << 16;
    return true;
}

bool file_write_time(const wchar_t* path, packed_time& out, bool utc) {
    os::file_request request;
    request.access = os::access_read;
    request.share = os::share_read | os::share_write;
    os::file_handle file;
    if (os::open_file(path, request, file) != 0)
        return false;
    const bool got = file_write_time(file, out, utc);
    os::close_file(file);
    return got;
}

bool file_write_time(os::file_handle file, packed_time& out, bool utc) {
    std::uint64_t time = 0;
    return os::last_write_time(file, time) == 0 && (utc || os::to_local_file_time(time, time) == 0) &&
           pack_file_time(time, out);
}

} // namespace cl
