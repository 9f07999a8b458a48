/* What a client can order of the driver, and the clock of its simulated connections. */
#ifndef SIM_DRIVER_SETTINGS_H
#define SIM_DRIVER_SETTINGS_H

#include "faults.h"

#include <ntddk.h>

#define MAX_CONNECTIONS 100000u
#define MAX_PENDING_MS 60000u

typedef enum block_mode {
    blocks_auto,     /* complete for a single listing; for a repeated one every fifth is complete */
    blocks_complete, /* all complete */
    blocks_partial   /* all partial */
} block_mode;

typedef struct settings {
    ULONG connections;
    BOOLEAN pending; /* complete every request from a timer, pending_ms after it came */
    ULONG pending_ms;
    block_mode blocks;
    fault text_fault; /* applies to the next text request only, so that the channel can't be lost */
    fault bin_fault;  /* applies to every binary request until it is cleared */
    BOOLEAN clock_stopped;
    ULONG64 clock_ms; /* what the clock shows while it is stopped, ms since the driver was loaded */
} settings;

/* Once, when the driver is loaded: default settings, and the clock starts at 0. */
void settings_init(void);

/* The settings that every request reads and text commands change. The caller holds the lock for as long as it
   uses the pointer, at IRQL APC_LEVEL or below. */
settings* settings_lock(void);
void settings_unlock(void);

void settings_reset(settings* s);

/* The time of the simulation in ms since the driver was loaded. */
ULONG64 simulation_time(const settings* s);

#endif
