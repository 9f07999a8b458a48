#include "cl/wifi/wifi_config.hpp"

#include "cl/sys/registry_key.hpp"
#include "cl/wifi/passphrase.hpp"
#include "contracts/registry_values.h"

#include <cstdint>
#include <windows.h>

namespace cl {

bool autostart_enabled() {
    registry_key key;
    std::uint32_t value = 0;
    return key.open(VFL_WIFI_KEY, nullptr, registry_read_access) &&
           key.read_value(VFL_WIFI_AUTOSTART, &value, sizeof value, REG_DWORD) && value != 0;
}

void read_wifi_config(std::string& ssid, std::string& password) {
    ssid.clear();
    wipe(password);
    registry_key key;
    if (!key.open(VFL_WIFI_KEY, nullptr, registry_read_access))
        return;
    key.read_string_narrow(VFL_WIFI_SSID, ssid);
    std::string protected_text;
    if (!key.read_string_narrow(VFL_WIFI_PASSWORD, protected_text))
        return;
    std::string clear = unprotect_hex(protected_text, VFL_WIFI_ENTROPY);
    // Copied, not moved: a short text would stay in its old place.
    password = clear;
    wipe(clear);
}

} // namespace cl
