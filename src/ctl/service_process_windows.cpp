#include "ctl/service_process.hpp"

#include "product/names.hpp"

#include <windows.h>

namespace vfl::ctl {

std::optional<std::uint64_t> service_process_start() {
    std::optional<std::uint64_t> start;
    const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
    const SC_HANDLE service = manager ? OpenServiceA(manager, service_name, SERVICE_QUERY_STATUS) : nullptr;
    SERVICE_STATUS_PROCESS status{};
    DWORD needed = 0;
    if (service && QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                                        sizeof status, &needed)) {
        const HANDLE process = status.dwProcessId
                                   ? OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, status.dwProcessId)
                                   : nullptr;
        FILETIME created{}, exited{}, kernel{}, user{};
        if (process && GetProcessTimes(process, &created, &exited, &kernel, &user))
            start = (std::uint64_t{created.dwHighDateTime} << 32) | created.dwLowDateTime;
        if (process)
            CloseHandle(process);
    }
    if (service)
        CloseServiceHandle(service);
    if (manager)
        CloseServiceHandle(manager);
    return start;
}

} // namespace vfl::ctl
