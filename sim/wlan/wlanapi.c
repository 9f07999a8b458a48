/* Stand-in for the WLAN client API: the hosted network of a machine that has just woken up. Every call is
   logged with its arguments, and can be made to fail; see docs/wlan-stand-in.md. A passphrase appears in the
   log by its length and a check sum. */
#include "answers.h"
#include "hosted_network.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define EXPORT __declspec(dllexport)

/* Windows errors of the calls' own checks, and the reason codes that go with them. */
enum { bad_handle = 6, bad_parameter = 87, unconfigured = 1610, wrong_state = 5023 };
enum { reason_bad_parameters = 2, reason_wrong_sequence = 10 };

enum { client_limit = 64 };
static volatile LONG clients[client_limit]; /* 1 while open; a client's handle is its place + 1 */
static volatile LONG last_block;

/* Precedes what a query returns, so that the log can show which block is freed. */
typedef struct block {
    uint64_t number;
    unsigned char data[];
} block;

static uint32_t client_error(vfl_wlan_client client) {
    return client && client <= client_limit && clients[client - 1] ? 0 : bad_handle;
}

static unsigned long number(vfl_wlan_client client) {
    return (unsigned long)client;
}

/* Copies an answer into a block of its own, unless the call is to return none ("NAME.null=1"). */
static void* new_block(const char* name, const void* data, uint32_t size, uint64_t* block_number) {
    char key[80];
    snprintf(key, sizeof key, "%s.null", name);
    *block_number = 0;
    if (configured(key, 0))
        return NULL;
    block* const made = malloc(sizeof(block) + size);
    if (!made)
        return NULL;
    *block_number = made->number = (uint64_t)InterlockedIncrement(&last_block);
    memcpy(made->data, data, size);
    return made->data;
}

EXPORT vfl_wlan_open_handle WlanOpenHandle;
EXPORT uint32_t WlanOpenHandle(uint32_t version, void* reserved, uint32_t* negotiated,
                               vfl_wlan_client* client) {
    const char* const name = "WlanOpenHandle";
    const int arguments_ok = !reserved && negotiated && client && (version == 1 || version == 2);
    uint32_t error = answer(name, arguments_ok ? 0 : bad_parameter, 0, NULL);
    vfl_wlan_client opened = 0;
    if (!error) {
        while (opened < client_limit && InterlockedCompareExchange(&clients[opened], 1, 0))
            ++opened;
        if (opened == client_limit) {
            error = ERROR_REMOTE_SESSION_LIMIT_EXCEEDED;
            opened = 0;
        } else {
            *negotiated = version;
            *client = ++opened;
        }
    }
    log_line("%s version %lu -> %lu client %lu", name, (unsigned long)version, (unsigned long)error,
             number(opened));
    return error;
}

EXPORT vfl_wlan_close_handle WlanCloseHandle;
EXPORT uint32_t WlanCloseHandle(vfl_wlan_client client, void* reserved) {
    (void)reserved;
    const uint32_t error = answer("WlanCloseHandle", client_error(client), 0, NULL);
    if (!error)
        InterlockedExchange(&clients[client - 1], 0);
    log_line("WlanCloseHandle client %lu -> %lu", number(client), (unsigned long)error);
    return error;
}

EXPORT vfl_wlan_free_memory WlanFreeMemory;
EXPORT void WlanFreeMemory(void* memory) {
    block* const freed = memory ? (block*)((unsigned char*)memory - offsetof(block, data)) : NULL;
    log_line("WlanFreeMemory block %llu", freed ? (unsigned long long)freed->number : 0);
    free(freed);
}

EXPORT vfl_wlan_init_settings WlanHostedNetworkInitSettings;
EXPORT uint32_t WlanHostedNetworkInitSettings(vfl_wlan_client client, uint32_t* reason, void* reserved) {
    (void)reserved;
    const uint32_t error = answer("WlanHostedNetworkInitSettings", client_error(client), 0, reason);
    if (!error) {
        hosted_network network = network_lock();
        if (!network.configured) {
            network.configured = 1;
            network.settings.max_peers = 100;
            network.settings.ssid_length = 8;
            memcpy(network.settings.ssid, "stand-in", 8);
        }
        network_unlock(&network);
    }
    log_line("WlanHostedNetworkInitSettings client %lu -> %lu", number(client), (unsigned long)error);
    return error;
}

EXPORT vfl_wlan_query_status WlanHostedNetworkQueryStatus;
EXPORT uint32_t WlanHostedNetworkQueryStatus(vfl_wlan_client client, void** status, void* reserved) {
    const char* const name = "WlanHostedNetworkQueryStatus";
    const uint32_t error = answer(name, reserved ? (uint32_t)bad_parameter : client_error(client), 0, NULL);
    /* State, device (a GUID), type of the radio, channel and number of peers, of whom there are none. */
    uint32_t words[8] = {0};
    uint64_t block_number = 0;
    if (!error) {
        const hosted_network network = network_lock();
        words[0] = network_state(&network);
        network_unlock(&network);
        *status = new_block(name, words, sizeof words, &block_number);
    }
    log_line("%s client %lu -> %lu state %lu block %llu", name, number(client), (unsigned long)error,
             (unsigned long)words[0], (unsigned long long)block_number);
    return error;
}

EXPORT vfl_wlan_query_property WlanHostedNetworkQueryProperty;
EXPORT uint32_t WlanHostedNetworkQueryProperty(vfl_wlan_client client, uint32_t property, uint32_t* size,
                                               void** data, uint32_t* value_type, void* reserved) {
    char name[48];
    snprintf(name, sizeof name, "WlanHostedNetworkQueryProperty.%lu", (unsigned long)property);
    const hosted_network network = network_lock();
    network_unlock(&network);
    uint32_t own = client_error(client);
    if (reserved || (property != VFL_WLAN_ENABLED && property != VFL_WLAN_CONNECTION_SETTINGS))
        own = bad_parameter;
    else if (!own && property == VFL_WLAN_CONNECTION_SETTINGS && !network.configured)
        own = unconfigured;
    const uint32_t error = answer(name, own, 0, NULL);
    uint64_t block_number = 0;
    if (!error) {
        const int flag = property == VFL_WLAN_ENABLED;
        *size = flag ? sizeof network.enabled : sizeof network.settings;
        *data = new_block(name, flag ? (const void*)&network.enabled : (const void*)&network.settings, *size,
                          &block_number);
        *value_type = 1; /* as queried */
    }
    log_line("WlanHostedNetworkQueryProperty client %lu property %lu -> %lu block %llu", number(client),
             (unsigned long)property, (unsigned long)error, (unsigned long long)block_number);
    return error;
}

EXPORT vfl_wlan_set_property WlanHostedNetworkSetProperty;
EXPORT uint32_t WlanHostedNetworkSetProperty(vfl_wlan_client client, uint32_t property, uint32_t size,
                                             const void* data, uint32_t* reason, void* reserved) {
    char name[48], shown[64] = "";
    vfl_wlan_settings settings = {0};
    uint32_t flag = 0, own = client_error(client);
    (void)reserved;
    snprintf(name, sizeof name, "WlanHostedNetworkSetProperty.%lu", (unsigned long)property);
    hosted_network network = network_lock();
    if (property == VFL_WLAN_ENABLED && size == sizeof flag) {
        memcpy(&flag, data, sizeof flag);
        snprintf(shown, sizeof shown, " value %lu", (unsigned long)flag);
    } else if (property == VFL_WLAN_CONNECTION_SETTINGS && size == sizeof settings) {
        memcpy(&settings, data, sizeof settings);
        snprintf(shown, sizeof shown, " ssid \"%.*s\" peers %lu",
                 (int)(settings.ssid_length > 32 ? 32 : settings.ssid_length), (const char*)settings.ssid,
                 (unsigned long)settings.max_peers);
        if (!own && (settings.ssid_length == 0 || settings.ssid_length > VFL_WLAN_SSID_BYTES))
            own = bad_parameter;
    } else {
        own = bad_parameter;
    }
    const uint32_t error = answer(name, own, reason_bad_parameters, reason);
    if (!error && property == VFL_WLAN_ENABLED)
        network.enabled = flag;
    else if (!error)
        network.settings = settings;
    network_unlock(&network);
    log_line("WlanHostedNetworkSetProperty client %lu property %lu size %lu%s -> %lu", number(client),
             (unsigned long)property, (unsigned long)size, shown, (unsigned long)error);
    return error;
}

EXPORT vfl_wlan_force WlanHostedNetworkForceStart;
EXPORT uint32_t WlanHostedNetworkForceStart(vfl_wlan_client client, uint32_t* reason, void* reserved) {
    (void)reserved;
    hosted_network network = network_lock();
    uint32_t own = client_error(client);
    if (!own && !(network.enabled && network.configured && network.has_key))
        own = wrong_state;
    const uint32_t error = answer("WlanHostedNetworkForceStart", own, reason_wrong_sequence, reason);
    if (!error) {
        network.running = 1;
        network.started_at = GetTickCount64();
    }
    network_unlock(&network);
    log_line("WlanHostedNetworkForceStart client %lu -> %lu", number(client), (unsigned long)error);
    return error;
}

EXPORT vfl_wlan_force WlanHostedNetworkForceStop;
EXPORT uint32_t WlanHostedNetworkForceStop(vfl_wlan_client client, uint32_t* reason, void* reserved) {
    (void)reserved;
    hosted_network network = network_lock();
    const uint32_t error =
        answer("WlanHostedNetworkForceStop", client_error(client), reason_wrong_sequence, reason);
    if (!error)
        network.running = 0;
    network_unlock(&network);
    log_line("WlanHostedNetworkForceStop client %lu -> %lu", number(client), (unsigned long)error);
    return error;
}

/* CRC-32: enough to see whether the right key arrived. */
static uint32_t check_sum(const uint8_t* data, uint32_t length) {
    uint32_t sum = 0xFFFFFFFFu;
    for (uint32_t i = 0; i < length; ++i) {
        sum ^= data[i];
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum >> 1) ^ (sum & 1 ? 0xEDB88320u : 0);
    }
    return ~sum;
}

EXPORT vfl_wlan_set_secondary_key WlanHostedNetworkSetSecondaryKey;
EXPORT uint32_t WlanHostedNetworkSetSecondaryKey(vfl_wlan_client client, uint32_t length, const uint8_t* key,
                                                 int32_t is_passphrase, int32_t persistent, uint32_t* reason,
                                                 void* reserved) {
    (void)reserved;
    hosted_network network = network_lock();
    /* A passphrase has 8 to 63 characters and its terminator, a key 32 bytes. */
    const int key_ok =
        key && (is_passphrase ? length >= 9 && length <= 64 && key[length - 1] == 0 : length == 32);
    uint32_t own = client_error(client);
    if (!own && !key_ok)
        own = bad_parameter;
    const uint32_t error = answer("WlanHostedNetworkSetSecondaryKey", own, reason_bad_parameters, reason);
    if (!error)
        network.has_key = 1;
    network_unlock(&network);
    log_line("WlanHostedNetworkSetSecondaryKey client %lu length %lu crc %08lx passphrase %ld persistent %ld "
             "-> %lu",
             number(client), (unsigned long)length, (unsigned long)(key ? check_sum(key, length) : 0),
             (long)is_passphrase, (long)persistent, (unsigned long)error);
    return error;
}

/* Bound by the product and not called. */
EXPORT uint32_t WlanHostedNetworkStartUsing(void);
EXPORT uint32_t WlanHostedNetworkStartUsing(void) {
    log_line("WlanHostedNetworkStartUsing");
    return ERROR_CALL_NOT_IMPLEMENTED;
}

EXPORT uint32_t WlanRegisterNotification(void);
EXPORT uint32_t WlanRegisterNotification(void) {
    log_line("WlanRegisterNotification");
    return ERROR_CALL_NOT_IMPLEMENTED;
}

EXPORT uint32_t WlanEnumInterfaces(void);
EXPORT uint32_t WlanEnumInterfaces(void) {
    log_line("WlanEnumInterfaces");
    return ERROR_CALL_NOT_IMPLEMENTED;
}
