/* What the stand-in's calls answer, and the log that they write; both are files beside the
   library. */
#ifndef SIM_WLAN_ANSWERS_H
#define SIM_WLAN_ANSWERS_H

#include "../beside_library.h"

/* The number after "key=" at the start of a line of "wlanapi.cfg", read anew each time. */
uint32_t configured(const char* key, uint32_t otherwise);

/* The error that the call is to fail with ("NAME=ERROR"), else `own`. Stores the reason ("NAME.reason=CODE"),
   by default own_reason, when the call fails and `reason` isn't null. */
uint32_t answer(const char* name, uint32_t own, uint32_t own_reason, uint32_t* reason);

/* Appends one line to "wlanapi.log". */
void log_line(const char* format, ...) __attribute__((format(printf, 1, 2)));

#endif
