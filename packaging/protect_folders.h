#pragma once

#include <wchar.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Gives the program's folder and the data folder, which it creates, to the administrators. 0 or a Windows
 * error. */
unsigned long protect_folders(const wchar_t* program_folder);

#ifdef __cplusplus
}
#endif
