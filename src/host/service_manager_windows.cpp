#include "host/service_manager.hpp"

#include "cl/os/never_destroyed.hpp"
#include "cl/sys/bound_function.hpp"
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

// To be called at once after the call that `done` is about.
failure failure_unless(bool done) {
    return done ? failure() : GetLastError();
}

void WINAPI dispatcher_main(DWORD, LPSTR*) {
    service_body.load()();
}

DWORD WINAPI dispatcher_handler(DWORD control, DWORD event_type, LPVOID data, LPVOID context) {
    return service_handler.load()(control, event_type, data, context);
}

} // namespace

failure run_dispatcher(service_main_function body) {
    service_body = body;
    std::string name = service_name; // the table wants a text that may be written to
    const SERVICE_TABLE_ENTRYA table[] = {{name.data(), dispatcher_main}, {nullptr, nullptr}};
    return failure_unless(StartServiceCtrlDispatcherA(table) != 0);
}

failure register_handler(service_handler_function handler) {
    service_handler = handler;
    const SERVICE_STATUS_HANDLE handle =
        RegisterServiceCtrlHandlerExA(service_name, dispatcher_handler, nullptr);
    const failure error = failure_unless(handle != nullptr);
    status_handle = handle;
    return error;
}

failure report_service_state(std::uint32_t state) {
    SERVICE_STATUS status{};
    // Both types: the service was registered as one or the other.
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS | SERVICE_WIN32_SHARE_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = accepted_controls;
    return failure_unless(SetServiceStatus(status_handle, &status) != 0);
}

failure query_user_token(std::uint32_t session_id) {
    // Bound on first use and kept: a handler may still run while the process ends.
    static cl::never_destroyed<cl::bound_function<BOOL(ULONG, PHANDLE)>> query(std::in_place, L"WTSAPI32.DLL",
                                                                               "WTSQueryUserToken");
    HANDLE token = nullptr;
    const failure error = failure_unless(*query && (*query)(session_id, &token));
    if (!error)
        CloseHandle(token);
    return error;
}

} // namespace vfl
