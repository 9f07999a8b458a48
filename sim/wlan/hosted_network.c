#include "hosted_network.h"

#include "answers.h"

#include <string.h>

static HANDLE lock_handle(void) {
    static HANDLE mutex;
    if (!mutex) {
        const HANDLE made = CreateMutexW(NULL, FALSE, L"Global\\stand-in wlanapi");
        if (InterlockedCompareExchangePointer(&mutex, made, NULL))
            CloseHandle(made);
    }
    return mutex;
}

hosted_network network_lock(void) {
    hosted_network network;
    DWORD n = 0;
    WaitForSingleObject(lock_handle(), INFINITE);
    const HANDLE file = open_beside(L"wlanapi.net", GENERIC_READ, OPEN_EXISTING);
    if (file != INVALID_HANDLE_VALUE) {
        ReadFile(file, &network, sizeof network, &n, NULL);
        CloseHandle(file);
    }
    if (n != sizeof network) {
        memset(&network, 0, sizeof network);
        network.woke_at = GetTickCount64();
    }
    return network;
}

void network_unlock(const hosted_network* network) {
    DWORD written;
    const HANDLE file = open_beside(L"wlanapi.net", GENERIC_WRITE, CREATE_ALWAYS);
    if (file != INVALID_HANDLE_VALUE) {
        WriteFile(file, network, sizeof *network, &written, NULL);
        CloseHandle(file);
    }
    ReleaseMutex(lock_handle());
}

uint32_t network_state(const hosted_network* network) {
    const uint64_t now = GetTickCount64();
    const uint64_t available_at = network->woke_at + configured("available", 0);
    if (now < available_at)
        return VFL_WLAN_UNAVAILABLE;
    if (network->running)
        return now < network->started_at + configured("start", 0) ? VFL_WLAN_IDLE : VFL_WLAN_ACTIVE;
    return now < available_at + configured("left_over", 0) ? VFL_WLAN_ACTIVE : VFL_WLAN_IDLE;
}
