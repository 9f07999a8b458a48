#include "cl/os/clock.hpp"

#include <ctime>
#include <windows.h>

namespace cl::os {

std::uint32_t tick_count() {
    return GetTickCount();
}

void sleep_ms(std::uint32_t ms) {
    Sleep(ms);
}

local_time now_local() {
    SYSTEMTIME t;
    GetLocalTime(&t);
    return {t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute, t.wSecond, t.wMilliseconds};
}

std::int64_t unix_time() {
    return std::time(nullptr);
}

} // namespace cl::os
