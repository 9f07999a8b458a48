/* What the stand-in libraries share: files in the library's folder, and the configuration in one of them.
   Each library includes this in one file, or in several that it links. */
#ifndef SIM_BESIDE_LIBRARY_H
#define SIM_BESIDE_LIBRARY_H

#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

/* Opens a file in the folder that the library was loaded from, or returns INVALID_HANDLE_VALUE. */
static inline HANDLE open_beside(const wchar_t* name, DWORD access, DWORD disposition) {
    wchar_t path[MAX_PATH + 32];
    HMODULE own_module = NULL;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       (const wchar_t*)(uintptr_t)&open_beside, &own_module);
    wchar_t* slash = path + GetModuleFileNameW(own_module, path, MAX_PATH);
    while (slash > path && slash[-1] != L'\\' && slash[-1] != L'/')
        --slash;
    wcscpy(slash, name);
    return CreateFileW(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, NULL,
                       disposition, FILE_ATTRIBUTE_NORMAL, NULL);
}

/* The number after "key=" at the start of a line of that file, read anew each time. */
static inline uint32_t configured_in(const wchar_t* name, const char* key, uint32_t otherwise) {
    char text[4096];
    DWORD n = 0;
    const HANDLE file = open_beside(name, GENERIC_READ, OPEN_EXISTING);
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

#endif
