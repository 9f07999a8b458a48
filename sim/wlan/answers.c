#include "answers.h"

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

HMODULE own_module;

HANDLE open_beside(const wchar_t* name, DWORD access, DWORD disposition) {
    wchar_t path[MAX_PATH + 32];
    const DWORD n = GetModuleFileNameW(own_module, path, MAX_PATH);
    wchar_t* slash = path + n;
    while (slash > path && slash[-1] != L'\\' && slash[-1] != L'/')
        --slash;
    wcscpy(slash, name);
    return CreateFileW(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, NULL,
                       disposition, FILE_ATTRIBUTE_NORMAL, NULL);
}

uint32_t configured(const char* key, uint32_t otherwise) {
    char text[4096];
    DWORD n = 0;
    const HANDLE file = open_beside(L"wlanapi.cfg", GENERIC_READ, OPEN_EXISTING);
    if (file == INVALID_HANDLE_VALUE)
        return otherwise;
    ReadFile(file, text, sizeof text - 1, &n, NULL);
    CloseHandle(file);
    text[n] = 0;
    const size_t length = strlen(key);
    for (const char* line = text; line; line = strchr(line, '\n') ? strchr(line, '\n') + 1 : NULL)
        if (strncmp(line, key, length) == 0 && line[length] == '=')
            return (uint32_t)strtoul(line + length + 1, NULL, 0);
    return otherwise;
}

uint32_t answer(const char* name, uint32_t own, uint32_t own_reason, uint32_t* reason) {
    char key[80];
    const uint32_t error = configured(name, own);
    snprintf(key, sizeof key, "%s.reason", name);
    if (error && reason)
        *reason = configured(key, own_reason);
    return error;
}

void log_line(const char* format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(text, sizeof text - 2, format, arguments);
    va_end(arguments);
    if (length < 0)
        return;
    strcat(text, "\r\n");
    /* One write at the end of the file: lines of several processes stay whole. */
    const HANDLE file = open_beside(L"wlanapi.log", FILE_APPEND_DATA, OPEN_ALWAYS);
    if (file == INVALID_HANDLE_VALUE)
        return;
    DWORD written;
    WriteFile(file, text, (DWORD)strlen(text), &written, NULL);
    CloseHandle(file);
}
