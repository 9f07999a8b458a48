#include "cl/os/device.hpp"

#include <windows.h>

namespace cl::os {

namespace {

// A request that can't be waited for by its event must still not write into memory that its caller gives up.
// Keeps the last error.
void abandon(HANDLE device, OVERLAPPED& request) {
    const DWORD error = GetLastError();
    DWORD ignored = 0;
    CancelIoEx(device, &request);
    GetOverlappedResult(device, &request, &ignored, TRUE);
    SetLastError(error);
}

} // namespace

device_handle open_device(const wchar_t* path) {
    return reinterpret_cast<device_handle>(
        CreateFileW(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, FILE_FLAG_OVERLAPPED | FILE_ATTRIBUTE_NORMAL, nullptr));
}

void close_device(device_handle device) {
    CloseHandle(reinterpret_cast<HANDLE>(device));
}

request_end control_device(device_handle device, std::uint32_t code, const void* in, std::uint32_t in_size,
                           void* out, std::uint32_t out_size, std::uint32_t& returned) {
    const HANDLE handle = reinterpret_cast<HANDLE>(device);
    OVERLAPPED overlapped{};
    // A failed creation leaves no event; the request then runs without one.
    overlapped.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);

    DWORD count = returned;
    BOOL ok =
        DeviceIoControl(handle, code, const_cast<void*>(in), in_size, out, out_size, nullptr, &overlapped);
    if (ok == 1) {
        ok = GetOverlappedResult(handle, &overlapped, &count, FALSE);
    } else {
        ok = FALSE;
        if (GetLastError() == ERROR_IO_PENDING) {
            if (WaitForSingleObject(overlapped.hEvent, INFINITE) == WAIT_OBJECT_0)
                ok = GetOverlappedResult(handle, &overlapped, &count, FALSE);
            else
                abandon(handle, overlapped);
        }
    }
    const request_end end{ok != FALSE, ok ? 0 : GetLastError()};
    returned = count;
    if (overlapped.hEvent)
        CloseHandle(overlapped.hEvent);
    return end;
}

} // namespace cl::os
