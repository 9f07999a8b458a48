/* Connection snapshots: which connections one holds, how large it is, and its bytes. */
#ifndef SIM_DRIVER_SNAPSHOT_H
#define SIM_DRIVER_SNAPSHOT_H

#include <ntddk.h>

/* One block. plan_snapshot fills it without building anything, so that a request with too small a buffer
   costs nothing. */
typedef struct snapshot_plan {
    ULONG64 now;       /* time of the simulation, ms */
    ULONG connections; /* that there are */
    ULONG pass;        /* how many blocks this client has had; partial ones take turns by it */
    BOOLEAN partial;
    ULONG records;      /* that the block holds */
    ULONG narrow_count; /* pool entries */
    ULONG wide_count;
    ULONG narrow_at; /* offsets of the pools */
    ULONG wide_at;
    ULONG size; /* of the block, bytes */
} snapshot_plan;

/* From the first four members of the plan to all of them. */
void plan_snapshot(snapshot_plan* plan);

/* Writes plan->size bytes. The plan and `out` belong to the caller; any IRQL. */
void build_snapshot(const snapshot_plan* plan, UCHAR* out);

#endif
