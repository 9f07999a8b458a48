/* Snapshots that no driver should send. */
#ifndef SIM_DRIVER_BROKEN_BLOCKS_H
#define SIM_DRIVER_BROKEN_BLOCKS_H

#include "faults.h"
#include "snapshot.h"

/* Breaks a block that build_snapshot wrote; returns how many of its bytes are to be sent. */
ULONG break_block(broken_block kind, const snapshot_plan* plan, UCHAR* block);

#endif
