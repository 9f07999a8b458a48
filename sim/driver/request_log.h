/* The last requests that the driver received, to be read back by a client. */
#ifndef SIM_DRIVER_REQUEST_LOG_H
#define SIM_DRIVER_REQUEST_LOG_H

#include "text.h"

#include <ntddk.h>

#define LOG_ENTRIES 64u      /* the oldest goes when one more comes */
#define LOG_INPUT_MAX 65536u /* bytes kept of a request's input; a command line is shorter */

typedef struct log_entry {
    ULONG64 number; /* counted from 1 since the driver was loaded */
    ULONG code;
    ULONG in_size;
    ULONG out_size;
    NTSTATUS status;
    ULONG_PTR information;
    BOOLEAN pending;
    UCHAR* input; /* the first min(in_size, LOG_INPUT_MAX) bytes, in the entry's own pool block */
} log_entry;

void log_init(void);
void log_destroy(void);

/* Copies a request's input for a later log_add. NULL without memory. */
UCHAR* log_copy_input(const void* input, ULONG size);
void log_free_input(UCHAR* input);

/* Takes the entry with its input. */
void log_add(const log_entry* entry);

void log_clear(void);

/* Writes the last `count` requests, oldest first, one a line. */
void log_write(text_writer* w, ULONG count);

/* Writes the text of the last text command in the log as it came. */
void log_write_last_text(text_writer* w);

#endif
