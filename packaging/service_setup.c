/* What the installer can't do by itself. The word of the command line is one of
     folders   gives this program's folder and the data folder to the administrators; users read and run
     recovery  has Windows restart the service "VexaFlowS" after a failure
     wait      waits for every process of this folder's vfl.exe: the service reports that it has stopped
   before it unloads the service library, so its state says nothing about its files The installer runs it
   elevated. The exit code is 0 or a Windows error. */
#include <windows.h> // first: the others need it

#include "protect_folders.h"

#include <tlhelp32.h>
#include <wchar.h>

#define SERVICE L"VexaFlowS"
#define PROGRAM L"vfl.exe"

enum {
    wait_ms = 120000, /* files that are still in use after that are replaced at the next restart */
    first_restart_ms = 5000,
    late_restart_ms = 60000,
    reset_s = 24 * 60 * 60 /* a day without a failure starts the count again */
};

static DWORD set_recovery(void) {
    SC_ACTION actions[] = {{SC_ACTION_RESTART, first_restart_ms},
                           {SC_ACTION_RESTART, first_restart_ms},
                           {SC_ACTION_RESTART, late_restart_ms}};
    SERVICE_FAILURE_ACTIONSW failure = {reset_s, NULL, NULL, sizeof actions / sizeof actions[0], actions};
    DWORD error = 0;
    const SC_HANDLE manager = OpenSCManagerW(NULL, NULL, SC_MANAGER_CONNECT);
    const SC_HANDLE service =
        manager ? OpenServiceW(manager, SERVICE, SERVICE_CHANGE_CONFIG | SERVICE_START) : NULL;
    if (!service || !ChangeServiceConfig2W(service, SERVICE_CONFIG_FAILURE_ACTIONS, &failure))
        error = GetLastError();
    if (service)
        CloseServiceHandle(service);
    if (manager)
        CloseServiceHandle(manager);
    return error;
}

/* The process, if it runs the program at `path`; null otherwise. */
static HANDLE open_if(DWORD id, const wchar_t* path) {
    wchar_t found[MAX_PATH];
    DWORD length = MAX_PATH;
    const HANDLE process = OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, id);
    if (!process)
        return NULL;
    if (QueryFullProcessImageNameW(process, 0, found, &length) && _wcsicmp(found, path) == 0)
        return process;
    CloseHandle(process);
    return NULL;
}

/* Puts `name`, in this program's folder, into `path`. 0 when it is too long. */
static int path_of(const wchar_t* name, wchar_t path[MAX_PATH]) {
    const DWORD length = GetModuleFileNameW(NULL, path, MAX_PATH);
    wchar_t* const end = length < MAX_PATH ? wcsrchr(path, L'\\') : NULL;
    if (!end || (size_t)(end + 1 - path) + wcslen(name) >= MAX_PATH)
        return 0;
    wcscpy(end + 1, name);
    return 1;
}

static DWORD set_folders(void) {
    wchar_t folder[MAX_PATH];
    return path_of(L"", folder) ? protect_folders(folder) : ERROR_BAD_PATHNAME;
}

static DWORD wait_for_end(void) {
    wchar_t path[MAX_PATH];
    const DWORD begin = GetTickCount();
    DWORD result = 0;
    PROCESSENTRY32W entry = {.dwSize = sizeof entry};
    HANDLE processes;
    if (!path_of(PROGRAM, path))
        return ERROR_BAD_PATHNAME;
    processes = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    if (processes == INVALID_HANDLE_VALUE)
        return GetLastError();
    for (BOOL more = Process32FirstW(processes, &entry); more; more = Process32NextW(processes, &entry)) {
        const HANDLE process =
            _wcsicmp(entry.szExeFile, PROGRAM) == 0 ? open_if(entry.th32ProcessID, path) : NULL;
        const DWORD gone = GetTickCount() - begin;
        if (!process)
            continue;
        if (WaitForSingleObject(process, gone < wait_ms ? wait_ms - gone : 0) != WAIT_OBJECT_0)
            result = ERROR_TIMEOUT;
        CloseHandle(process);
    }
    CloseHandle(processes);
    return result;
}

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE previous, LPWSTR command, int show) {
    (void)instance, (void)previous, (void)show;
    if (wcscmp(command, L"folders") == 0)
        return (int)set_folders();
    if (wcscmp(command, L"recovery") == 0)
        return (int)set_recovery();
    if (wcscmp(command, L"wait") == 0)
        return (int)wait_for_end();
    return ERROR_BAD_ARGUMENTS;
}
