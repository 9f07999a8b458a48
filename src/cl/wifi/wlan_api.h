/* What the hosted network needs of the WLAN client API, "wlanapi.dll": names, numbers and functions, declared
   here because the compiler's own header lacks them. Shared with the stand-in: plain C11 and C++. All calls
   use the one convention of 64-bit Windows and return a Windows error, 0 on success. `reserved` is null. */
#ifndef CL_WIFI_WLAN_API_H
#define CL_WIFI_WLAN_API_H

#include <stdint.h>

#define VFL_WLAN_LIBRARY L"wlanapi.dll"

/* The version of the client that WlanOpenHandle is asked for: that of Windows Vista and later. */
#define VFL_WLAN_CLIENT_VERSION 2u

/* The state of the network: the first field of what WlanHostedNetworkQueryStatus returns. */
#define VFL_WLAN_UNAVAILABLE 0u
#define VFL_WLAN_IDLE 1u
#define VFL_WLAN_ACTIVE 2u

/* Codes of the properties that are read and written. */
#define VFL_WLAN_CONNECTION_SETTINGS 0u /* vfl_wlan_settings */
#define VFL_WLAN_ENABLED 3u             /* 32 bits, 0 = off */

#define VFL_WLAN_SSID_BYTES 32u

/* Connection settings: 40 bytes. */
typedef struct vfl_wlan_settings {
    uint32_t ssid_length; /* bytes */
    uint8_t ssid[VFL_WLAN_SSID_BYTES];
    uint32_t max_peers;
} vfl_wlan_settings;

/* An open client (HANDLE). */
typedef uintptr_t vfl_wlan_client;

/* Calls with a `reason` store there why they failed; see reason_text. What the two queries return is given
   back with WlanFreeMemory. */
typedef uint32_t vfl_wlan_open_handle(uint32_t version, void* reserved, uint32_t* negotiated,
                                      vfl_wlan_client* client);
typedef uint32_t vfl_wlan_close_handle(vfl_wlan_client client, void* reserved);
typedef uint32_t vfl_wlan_init_settings(vfl_wlan_client client, uint32_t* reason, void* reserved);
typedef uint32_t vfl_wlan_query_status(vfl_wlan_client client, void** status, void* reserved);
typedef void vfl_wlan_free_memory(void* memory);
typedef uint32_t vfl_wlan_query_property(vfl_wlan_client client, uint32_t property, uint32_t* size,
                                         void** data, uint32_t* value_type, void* reserved);
typedef uint32_t vfl_wlan_set_property(vfl_wlan_client client, uint32_t property, uint32_t size,
                                       const void* data, uint32_t* reason, void* reserved);
/* WlanHostedNetworkForceStart and WlanHostedNetworkForceStop. */
typedef uint32_t vfl_wlan_force(vfl_wlan_client client, uint32_t* reason, void* reserved);
/* A passphrase's length counts its terminator. */
typedef uint32_t vfl_wlan_set_secondary_key(vfl_wlan_client client, uint32_t length, const uint8_t* key,
                                            int32_t is_passphrase, int32_t persistent, uint32_t* reason,
                                            void* reserved);

#endif
