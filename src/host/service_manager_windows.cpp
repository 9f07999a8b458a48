#include "host/service_manager.hpp"

#include "cl/sys/dynamic_entry.hpp"
#include "product/names.hpp"

#include <atomic>
#include <string>
#include <windows.h>

namespace vfl {

namespace {

constexpr DWORD accepted_controls =
    SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_POWEREVENT | SERVICE_ACCEPT_SESSIONCHANGE;

constinit std::atomic<service_main_function> service_body{nullptr};
constinit std::atomic<service_handler_function> service_handler{nullptr};
constinit std::atomic<SERVICE_STATUS_HANDLE> status_handle{nullptr};

void WINAPI dispatcher_main(DWORD, LPSTR*) {
    service_body.load()();
}

DWORD WINAPI dispatcher_handler(DWORD control, DWORD event_type, LPVOID data, LPVOID context) {
    return service_handler.load()(control, event_type, data, context);
}

} // namespace

std::uint32_t run_dispatcher(service_main_function body) {
    service_body = body;
    std::string name = service_name; // the table wants a text that may be written to
    const SERVICE_TABLE_ENTRYA table[] = {{name.data(), dispatcher_main}, {nullptr, nullptr}};
    return StartServiceCtrlDispatcherA(table) ? 0 : GetLastError();
}

std::uint32_t register_handler(service_handler_function handler) {
    service_handler = handler;
    const SERVICE_STATUS_HANDLE handle =
        RegisterServiceCtrlHandlerExA(service_name, dispatcher_handler, nullptr);
    const DWORD error = handle ? 0 : GetLastError();
    status_handle = handle;
    return error;
}

std::uint32_t report_service_state(std::uint32_t state) {
    SERVICE_STATUS status{};
    // Both types: the service was registered as one or the other.
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS | SERVICE_WIN32_SHARE_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = accepted_controls;
    return SetServiceStatus(status_handle, &status) ? 0 : GetLastError();
}

bool has_user_token(std::uint32_t session_id, std::uint32_t& error) {
    using query_function = BOOL(WINAPI*)(ULONG, PHANDLE);
    // Bound on first use and kept: a handler may still run while the process ends.
    static const cl::dynamic_entry& entry = *new cl::dynamic_entry(L"WTSAPI32.DLL", "WTSQueryUserToken");
    HANDLE token = nullptr;
    if (entry.address && entry.as<query_function>()(session_id, &token)) {
        CloseHandle(token);
        return true;
    }
    error = GetLastError();
    return false;
}

} // namespace vfl
