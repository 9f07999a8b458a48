#include "answers.h"

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

uint32_t configured(const char* key, uint32_t otherwise) {
    return configured_in(L"wlanapi.cfg", key, otherwise);
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
