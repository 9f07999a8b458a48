/* Requests that are completed later: from a timer, or when they are cancelled. */
#ifndef SIM_DRIVER_PENDING_H
#define SIM_DRIVER_PENDING_H

#include "faults.h"

#include <ntddk.h>

/* Once, when the driver is loaded. */
void pending_init(void);

/* Completes the request at once. Returns its status. */
NTSTATUS complete_now(PIRP irp, const outcome* result);

/* Completes the request from a timer after delay_ms, or never unless it is cancelled when the outcome says
   so. Returns what the dispatch routine has to return; the request may be gone by then. */
NTSTATUS complete_later(PIRP irp, const outcome* result, ULONG delay_ms);

/* Cancels the pending requests of one open file, of all with NULL. At IRQL DISPATCH_LEVEL or below. */
void cancel_pending(PFILE_OBJECT file);

/* When the driver is unloaded: cancels everything, and returns when none of its timers can run any more. */
void pending_drain(void);

#endif
