/* The simulated connections. Each is a function of its index and the time alone, so that any number of them
   takes no memory and a stopped clock gives the same bytes again. */
#ifndef SIM_DRIVER_CONNECTIONS_H
#define SIM_DRIVER_CONNECTIONS_H

#include "contracts/protocol.h"

#include <ntddk.h>

#define TABLE_CONNECTIONS 12u /* these all differ; the ones after them are all alike */
/* Lives for 24 of each 30 s, then counts as closed; each time with a new id. */
#define SHORT_LIVED_INDEX 10u

/* The driver's own clock at a time of the simulation, ms. It runs since long before the driver was loaded, so
   that connections can be older than that. */
ULONG64 driver_clock(ULONG64 now);

/* The unit of rates: they count the bytes of the last quarter of a second, and rate_scale gives that time in
   units of 2^-20 s. */
#define RATE_WINDOW_MS 250u
#define RATE_SCALE (1u << 18)

/* Fills the record of a connection at a time of the simulation. Texts are indexes into the pools of names.h;
   data and hostname of a connection after the table are left at 0. */
void describe_connection(ULONG index, ULONG64 now, vfl_connection_record* record);

#endif
