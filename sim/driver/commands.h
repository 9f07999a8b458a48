/* The two channels of the device. */
#ifndef SIM_DRIVER_COMMANDS_H
#define SIM_DRIVER_COMMANDS_H

#include "settings.h"

#include <ntddk.h>

/* A request as it came, and where its reply goes. The input is a copy: in the request itself input and output
   share one buffer. */
typedef struct request {
    const UCHAR* input;
    ULONG in_size;
    void* output;
    ULONG out_size;
    PFILE_OBJECT file;
} request;

/* Answers a text command. FALSE when the command is to leave no trace in the log, because it reads it.
   At IRQL PASSIVE_LEVEL. */
BOOLEAN text_command(const request* r, outcome* result);

/* Answers a binary command. At IRQL PASSIVE_LEVEL. */
void binary_command(const request* r, const settings* s, outcome* result);

#endif
