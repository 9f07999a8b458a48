/* The service library, "flowsrv.dll": the functions that it exports for the host, and how the host calls
   them. Shared with the library: plain C11 and C++. All calls use the one convention of 64-bit Windows. */
#ifndef VFL_CONTRACTS_SERVICE_LIBRARY_H
#define VFL_CONTRACTS_SERVICE_LIBRARY_H

#include <stdint.h>
#include <wchar.h>

#define VFL_SERVICE_LIBRARY L"flowsrv.dll"

/* Last argument of the calls that start, stop, install and uninstall: the sign that the host is calling. */
#define VFL_CALL_TOKEN 0x5e19d4a7c36b02f8ull

/* Starts the product's logic and returns; the low byte of the result is not 0 on success. The library stays
   loaded until the matching stop has returned. */
#define VFL_START_SERVICE "start_service_ex"
typedef uint32_t vfl_start_service_ex(uint64_t token);

/* Ends it; also called when no start has succeeded. The result is not used. */
#define VFL_STOP_SERVICE "stop_service_ex"
typedef uint32_t vfl_stop_service_ex(uint64_t token);

/* Called before the start when the command line asks for the game analyser. */
#define VFL_SET_GAME_ANALYZER "set_game_analyzer"
typedef void vfl_set_game_analyzer(void);

/* Prints the library's own list of connections. */
#define VFL_DUMP_CONNECTIONS "dump_connections"
typedef void vfl_dump_connections(void);

/* Calibrations. `args` holds `count` zero-terminated UTF-16 strings and is null when there are none. The
   result of calibrate_burst is not used; the low byte of calibrate_file's is the process's exit code. */
#define VFL_CALIBRATE_BURST "calibrate_burst"
#define VFL_CALIBRATE_FILE "calibrate_file"
typedef uint32_t vfl_calibrate(int32_t count, const wchar_t* const* args);

/* Installs and removes the driver, inside an initialised COM apartment. The paths are zero-terminated: the
   installation folder (ends in a backslash, or is empty) and the log file. The result is a code for people.
 */
#define VFL_INSTALL_DRIVER "install_driver_ex"
typedef uint32_t vfl_install_driver_ex(const wchar_t* install_dir, const wchar_t* log_path, uint64_t token);

#define VFL_UNINSTALL_DRIVER "uninstall_driver_ex"
typedef uint32_t vfl_uninstall_driver_ex(const wchar_t* log_path, uint64_t token);

#endif
