/* What the installer can't do by itself, in two words of the command line:
     recovery  sets the service "VexaFlowS" to be restarted after a failure
     wait      waits for the programs of this folder's vfl.exe to end: the service reports that it has stopped
   before it unloads the service library, so its state says nothing about its files The installer calls it
   elevated, before it removes files and after it has registered the service. The exit code is 0 or a Windows
   error. */
#include <windows.h> // ahead of the others, which need it

#include <tlhelp32.h>
#include <wchar.h>

#define SERVICE L"VexaFlowS"
#define PROGRAM L"vfl.exe"

enum {
    wait_ms = 120000, /* as long as a person at an installer bears; behind it files in use need a restart */
    first_restart_ms = 5000,
    late_restart_ms = 60000,
    reset_s = 24 * 60 * 60 /* a day without a failure begins the count anew */
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

/* The running program of the process, or null when it is none of ours. */
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

static DWORD wait_for_end(void) {
    wchar_t path[MAX_PATH];
    const DWORD length = GetModuleFileNameW(NULL, path, MAX_PATH);
    const DWORD begin = GetTickCount();
    DWORD result = 0;
    PROCESSENTRY32W entry = {.dwSize = sizeof entry};
    HANDLE processes;
    wchar_t* const name = length < MAX_PATH ? wcsrchr(path, L'\\') : NULL;
    if (!name || (size_t)(name + 1 - path) + wcslen(PROGRAM) >= MAX_PATH)
        return ERROR_BAD_PATHNAME;
    wcscpy(name + 1, PROGRAM);
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
    if (wcscmp(command, L"recovery") == 0)
        return (int)set_recovery();
    if (wcscmp(command, L"wait") == 0)
        return (int)wait_for_end();
    return ERROR_BAD_ARGUMENTS;
}
