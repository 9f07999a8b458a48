#include "pending.h"

#define POOL_TAG 0x646e5056u /* "VPnd" */

/* One request that waits. The request, a timer and a cancellation race for it; under the lock, `irp` says
   whether it is still to be completed, and `timer_over` whether the timer can still come. Who is last frees
   it. */
typedef struct waiting {
    LIST_ENTRY link;
    PIRP irp; /* null once somebody else completes it */
    PFILE_OBJECT file;
    outcome result;
    KTIMER timer;
    KDPC dpc;
    BOOLEAN timer_over;
} waiting;

static KSPIN_LOCK lock;
static LIST_ENTRY waiters;
static volatile LONG waiter_count;

void pending_init(void) {
    KeInitializeSpinLock(&lock);
    InitializeListHead(&waiters);
}

static void free_waiter(waiting* w) {
    ExFreePoolWithTag(w, POOL_TAG);
    InterlockedDecrement(&waiter_count);
}

NTSTATUS complete_now(PIRP irp, const outcome* result) {
    const NTSTATUS status = result->status;
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = result->information;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
    return status;
}

static void complete_cancelled(PIRP irp) {
    const outcome cancelled = {.status = STATUS_CANCELLED};
    complete_now(irp, &cancelled);
}

static VOID NTAPI timer_over(PKDPC dpc, PVOID context, PVOID unused_1, PVOID unused_2) {
    waiting* w = context;
    PIRP irp = NULL;
    BOOLEAN last = TRUE;
    (void)dpc;
    (void)unused_1;
    (void)unused_2;
    KeAcquireSpinLockAtDpcLevel(&lock);
    w->timer_over = TRUE;
    if (w->irp) {
        if (IoSetCancelRoutine(w->irp, NULL)) {
            irp = w->irp;
            RemoveEntryList(&w->link);
        } else {
            last = FALSE; /* its cancel routine is on its way and finishes this */
        }
    }
    KeReleaseSpinLockFromDpcLevel(&lock);
    if (irp)
        complete_now(irp, &w->result);
    if (last)
        free_waiter(w);
}

/* With the lock held: takes the request out of the list. TRUE when the caller has to free the waiter. */
static BOOLEAN detach(waiting* w) {
    w->irp = NULL;
    RemoveEntryList(&w->link);
    if (!w->timer_over && KeCancelTimer(&w->timer))
        w->timer_over = TRUE;
    return w->timer_over;
}

static VOID NTAPI cancel(PDEVICE_OBJECT device, PIRP irp) {
    waiting* w = irp->Tail.Overlay.DriverContext[0];
    KIRQL irql;
    (void)device;
    IoReleaseCancelSpinLock(irp->CancelIrql);
    KeAcquireSpinLock(&lock, &irql);
    const BOOLEAN last = detach(w);
    KeReleaseSpinLock(&lock, irql);
    if (last)
        free_waiter(w);
    complete_cancelled(irp);
}

NTSTATUS complete_later(PIRP irp, const outcome* result, ULONG delay_ms) {
    waiting* w = ExAllocatePoolWithTag(NonPagedPool, sizeof *w, POOL_TAG);
    KIRQL irql;
    LARGE_INTEGER due;
    if (!w) {
        const outcome failed = {.status = STATUS_INSUFFICIENT_RESOURCES};
        return complete_now(irp, &failed);
    }
    InterlockedIncrement(&waiter_count);
    RtlZeroMemory(w, sizeof *w);
    w->irp = irp;
    w->file = IoGetCurrentIrpStackLocation(irp)->FileObject;
    w->result = *result;
    w->timer_over = result->never;
    KeInitializeTimer(&w->timer);
    KeInitializeDpc(&w->dpc, timer_over, w);
    due.QuadPart = -10000LL * (LONGLONG)delay_ms;

    irp->Tail.Overlay.DriverContext[0] = w;
    IoMarkIrpPending(irp);
    KeAcquireSpinLock(&lock, &irql);
    InsertTailList(&waiters, &w->link);
    (void)IoSetCancelRoutine(irp, cancel);
    BOOLEAN cancelled = FALSE;
    if (irp->Cancel) {
        /* Cancelled before there was a routine to call. If there is one on its way now, it finds no timer. */
        w->timer_over = TRUE;
        if (IoSetCancelRoutine(irp, NULL)) {
            cancelled = TRUE;
            (void)detach(w);
        }
    } else if (!result->never) {
        KeSetTimer(&w->timer, due, &w->dpc);
    }
    KeReleaseSpinLock(&lock, irql);
    if (cancelled) {
        free_waiter(w);
        complete_cancelled(irp);
    }
    return STATUS_PENDING;
}

void cancel_pending(PFILE_OBJECT file) {
    for (;;) {
        PIRP irp = NULL;
        waiting* unused = NULL;
        KIRQL irql;
        KeAcquireSpinLock(&lock, &irql);
        for (PLIST_ENTRY at = waiters.Flink; at != &waiters; at = at->Flink) {
            waiting* w = CONTAINING_RECORD(at, waiting, link);
            if ((!file || w->file == file) && IoSetCancelRoutine(w->irp, NULL)) {
                irp = w->irp;
                unused = detach(w) ? w : NULL;
                break;
            }
        }
        KeReleaseSpinLock(&lock, irql);
        if (!irp)
            return;
        if (unused)
            free_waiter(unused);
        complete_cancelled(irp);
    }
}

void pending_drain(void) {
    LARGE_INTEGER pause;
    pause.QuadPart = -10000LL; /* 1 ms */
    cancel_pending(NULL);
    while (waiter_count != 0)
        KeDelayExecutionThread(KernelMode, FALSE, &pause);
    /* The last timer routine may be on its way out still. */
    KeFlushQueuedDpcs();
}
