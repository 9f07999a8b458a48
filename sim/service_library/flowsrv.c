/* Stand-in for the service library. It writes every call with its arguments to "flowsrv.log" and answers as
   "flowsrv.cfg" says, both in the folder that it was loaded from. A line NAME=NUMBER there is what the
   function returns (by default 1 for start_service_ex, and 0 for the others), a line NAME.delay=NUMBER the
   milliseconds that it takes. A host that unloads the library while a call is inside finds that in the log
   too. Built with LEAVE_OUT_<name> the library lacks that export. */
#include "../beside_library.h"
#include "contracts/service_library.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#define EXPORT __declspec(dllexport)

static SRWLOCK log_lock = SRWLOCK_INIT;
static volatile LONG calls_inside;

static void put(HANDLE file, const char* text) {
    DWORD written;
    WriteFile(file, text, (DWORD)strlen(text), &written, NULL);
}

/* Appends a wide text in quotes, as UTF-8; a null pointer as NULL. */
static void put_wide(HANDLE file, const wchar_t* text) {
    if (!text) {
        put(file, " NULL");
        return;
    }
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, NULL, 0, NULL, NULL);
    char* const bytes = malloc((size_t)size);
    if (!bytes)
        return;
    WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes, size, NULL, NULL);
    put(file, " \"");
    put(file, bytes);
    put(file, "\"");
    free(bytes);
}

/* Logs a call, takes its time and gives its result. `texts` holds `count` strings; a token of 0 is not shown.
 */
static uint32_t answer(const char* name, uint32_t otherwise, const wchar_t* const* texts, int32_t count,
                       uint64_t token) {
    char text[80];
    const uint32_t result = configured_in(L"flowsrv.cfg", name, otherwise);
    InterlockedIncrement(&calls_inside);
    AcquireSRWLockExclusive(&log_lock);
    const HANDLE file = open_beside(L"flowsrv.log", FILE_APPEND_DATA, OPEN_ALWAYS);
    if (file != INVALID_HANDLE_VALUE) {
        put(file, name);
        if (count > 0 && !texts)
            put(file, " NULL");
        for (int32_t i = 0; texts && i < count; ++i)
            put_wide(file, texts[i]);
        if (token) {
            snprintf(text, sizeof text, " token %llx", (unsigned long long)token);
            put(file, text);
        }
        snprintf(text, sizeof text, " -> %lu\r\n", (unsigned long)result);
        put(file, text);
        CloseHandle(file);
    }
    ReleaseSRWLockExclusive(&log_lock);
    snprintf(text, sizeof text, "%s.delay", name);
    Sleep(configured_in(L"flowsrv.cfg", text, 0));
    InterlockedDecrement(&calls_inside);
    return result;
}

/* `ending` is null when the host unloads the library; not null at the end of the process. */
BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID ending) {
    (void)module;
    if (reason == DLL_PROCESS_DETACH && !ending && calls_inside != 0) {
        const HANDLE file = open_beside(L"flowsrv.log", FILE_APPEND_DATA, OPEN_ALWAYS);
        put(file, "unloaded with a call inside\r\n");
        CloseHandle(file);
    }
    return TRUE;
}

/* A calibration's arguments; a null pointer for them shows as NULL. */
static uint32_t calibrate(const char* name, int32_t count, const wchar_t* const* args) {
    return answer(name, 0, args, args ? count : 1, 0);
}

#ifndef LEAVE_OUT_start_service_ex
EXPORT vfl_start_service_ex start_service_ex;
EXPORT uint32_t start_service_ex(uint64_t token) {
    return answer(VFL_START_SERVICE, 1, NULL, 0, token);
}
#endif

#ifndef LEAVE_OUT_stop_service_ex
EXPORT vfl_stop_service_ex stop_service_ex;
EXPORT uint32_t stop_service_ex(uint64_t token) {
    return answer(VFL_STOP_SERVICE, 0, NULL, 0, token);
}
#endif

#ifndef LEAVE_OUT_set_game_analyzer
EXPORT vfl_set_game_analyzer set_game_analyzer;
EXPORT void set_game_analyzer(void) {
    answer(VFL_SET_GAME_ANALYZER, 0, NULL, 0, 0);
}
#endif

#ifndef LEAVE_OUT_dump_connections
EXPORT vfl_dump_connections dump_connections;
EXPORT void dump_connections(void) {
    answer(VFL_DUMP_CONNECTIONS, 0, NULL, 0, 0);
}
#endif

#ifndef LEAVE_OUT_calibrate_burst
EXPORT vfl_calibrate calibrate_burst;
EXPORT uint32_t calibrate_burst(int32_t count, const wchar_t* const* args) {
    return calibrate(VFL_CALIBRATE_BURST, count, args);
}
#endif

#ifndef LEAVE_OUT_calibrate_file
EXPORT vfl_calibrate calibrate_file;
EXPORT uint32_t calibrate_file(int32_t count, const wchar_t* const* args) {
    return calibrate(VFL_CALIBRATE_FILE, count, args);
}
#endif

#ifndef LEAVE_OUT_install_driver_ex
EXPORT vfl_install_driver_ex install_driver_ex;
EXPORT uint32_t install_driver_ex(const wchar_t* install_dir, const wchar_t* log_path, uint64_t token) {
    const wchar_t* const texts[] = {install_dir, log_path};
    return answer(VFL_INSTALL_DRIVER, 0, texts, 2, token);
}
#endif

#ifndef LEAVE_OUT_uninstall_driver_ex
EXPORT vfl_uninstall_driver_ex uninstall_driver_ex;
EXPORT uint32_t uninstall_driver_ex(const wchar_t* log_path, uint64_t token) {
    return answer(VFL_UNINSTALL_DRIVER, 0, &log_path, 1, token);
}
#endif
