#include "ctl/service_system.hpp"

#include "product/names.hpp"

#include <utility>
#include <windows.h>

namespace vfl::ctl {

namespace {

// Both handles for the length of one call.
class opened_service {
public:
    explicit opened_service(DWORD access) : manager_(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT)) {
        if (manager_)
            handle = OpenServiceA(manager_, service_name, access);
        error = handle ? 0 : GetLastError();
    }
    ~opened_service() {
        if (handle)
            CloseServiceHandle(handle);
        if (manager_)
            CloseServiceHandle(manager_);
    }
    opened_service(const opened_service&) = delete;
    opened_service& operator=(const opened_service&) = delete;

    SC_HANDLE handle = nullptr;
    std::uint32_t error;

private:
    SC_HANDLE manager_;
};

void read_configuration(service_facts& facts) {
    const opened_service service(SERVICE_QUERY_CONFIG);
    DWORD size = 0;
    if (!service.handle || QueryServiceConfigW(service.handle, nullptr, 0, &size) ||
        GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return;
    std::vector<std::uint64_t> memory(size / sizeof(std::uint64_t) + 1); // aligned for the record
    auto* const config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(memory.data());
    if (!QueryServiceConfigW(service.handle, config, size, &size))
        return;
    facts.start_type = config->dwStartType;
    facts.program = config->lpBinaryPathName ? config->lpBinaryPathName : L"";
    facts.account = config->lpServiceStartName ? config->lpServiceStartName : L"";
}

std::optional<std::uint64_t> start_of(DWORD process_id) {
    std::optional<std::uint64_t> start;
    const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process_id);
    FILETIME created{}, exited{}, kernel{}, user{};
    if (process && GetProcessTimes(process, &created, &exited, &kernel, &user))
        start = (std::uint64_t{created.dwHighDateTime} << 32) | created.dwLowDateTime;
    if (process)
        CloseHandle(process);
    return start;
}

} // namespace

live_service::~live_service() {
    if (process_)
        CloseHandle(process_);
}

service_facts live_service::query() {
    service_facts facts;
    {
        const opened_service service(SERVICE_QUERY_STATUS);
        SERVICE_STATUS_PROCESS status{};
        DWORD needed = 0;
        facts.error = service.error;
        if (service.handle && !QueryServiceStatusEx(service.handle, SC_STATUS_PROCESS_INFO,
                                                    reinterpret_cast<BYTE*>(&status), sizeof status, &needed))
            facts.error = GetLastError();
        if (facts.error != 0)
            return facts;
        facts.state = status.dwCurrentState;
        facts.process_id = status.dwProcessId;
        facts.exit_code = status.dwWin32ExitCode;
    }
    if (facts.process_id != 0)
        facts.process_start = start_of(facts.process_id);
    read_configuration(facts);
    return facts;
}

std::uint32_t live_service::start() {
    const opened_service service(SERVICE_START);
    if (service.handle && !StartServiceW(service.handle, 0, nullptr))
        return GetLastError();
    return service.error;
}

std::uint32_t live_service::stop() {
    const opened_service service(SERVICE_STOP);
    SERVICE_STATUS status{};
    if (service.handle && !ControlService(service.handle, SERVICE_CONTROL_STOP, &status))
        return GetLastError();
    return service.error;
}

std::vector<std::wstring> live_service::dependents() {
    std::vector<std::wstring> names;
    const opened_service service(SERVICE_ENUMERATE_DEPENDENTS);
    DWORD size = 0, count = 0;
    if (!service.handle ||
        EnumDependentServicesW(service.handle, SERVICE_ACTIVE, nullptr, 0, &size, &count) ||
        GetLastError() != ERROR_MORE_DATA)
        return names;
    std::vector<std::uint64_t> memory(size / sizeof(std::uint64_t) + 1);
    auto* const list = reinterpret_cast<ENUM_SERVICE_STATUSW*>(memory.data());
    if (!EnumDependentServicesW(service.handle, SERVICE_ACTIVE, list, size, &size, &count))
        return names;
    for (DWORD i = 0; i < count; ++i)
        names.emplace_back(list[i].lpServiceName);
    return names;
}

bool live_service::watch_process() {
    const std::uint32_t id = query().process_id;
    if (void* const old = std::exchange(process_, id ? OpenProcess(SYNCHRONIZE, FALSE, id) : nullptr))
        CloseHandle(old);
    return process_ != nullptr;
}

bool live_service::process_ended(std::uint32_t wait_ms) {
    return !process_ || WaitForSingleObject(process_, wait_ms) == WAIT_OBJECT_0;
}

} // namespace vfl::ctl
