/* The one hosted network of the simulated machine. It is stored in the file "wlanapi.net" beside the library,
   so that it outlives sessions, the library and processes, as the system's does. */
#ifndef SIM_WLAN_HOSTED_NETWORK_H
#define SIM_WLAN_HOSTED_NETWORK_H

#include "cl/wifi/wlan_api.h"

#include <stdint.h>

typedef struct hosted_network {
    uint32_t configured; /* the settings below exist */
    uint32_t enabled;
    uint32_t running; /* ordered to start and not to stop */
    uint32_t has_key;
    uint32_t reserved[2];
    uint64_t woke_at;    /* when the machine woke up: the library's first use */
    uint64_t started_at; /* both in milliseconds since the system's start */
    vfl_wlan_settings settings;
} hosted_network;

/* Takes the machine's lock and reads the network; a machine without one gets a network that is off. */
hosted_network network_lock(void);

/* Writes the network back and releases the lock. */
void network_unlock(const hosted_network* network);

/* The state at this time. By the configuration, in milliseconds: `available`, how long the stack takes after
   the wake-up; `left_over`, how long a network from before the sleep stays active after that; `start`, how
   long a start takes. */
uint32_t network_state(const hosted_network* network);

#endif
