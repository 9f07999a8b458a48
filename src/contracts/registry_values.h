/* The user's settings of the hosted network, and how its passphrase is protected. The product reads them; a
   settings program writes them. Shared with such programs: plain C11 and C++. */
#ifndef VFL_CONTRACTS_REGISTRY_VALUES_H
#define VFL_CONTRACTS_REGISTRY_VALUES_H

/* Below HKEY_LOCAL_MACHINE, in the 64-bit view. */
#define VFL_WIFI_KEY L"Software\\Vexa\\VexaFlow"

/* REG_DWORD; not 0: bring the network back when the machine wakes up. */
#define VFL_WIFI_AUTOSTART L"Virtual Wi-Fi Autostart"

/* REG_SZ. */
#define VFL_WIFI_SSID L"Virtual Wi-Fi SSID"

/* REG_SZ: the bytes of CryptProtectData's block in hexadecimal, two digits each, the high one first.
   Protected in machine scope, so that the service's account can read it, with the entropy below, without
   its terminator. */
#define VFL_WIFI_PASSWORD L"Virtual Wi-Fi Password (Svc)"
#define VFL_WIFI_ENTROPY "Qk7TzW2nHb9R"

#endif
