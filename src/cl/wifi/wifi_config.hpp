// The user's settings of the hosted network, in the registry (registry_values.h). Read anew by every call;
// any thread may call.
#pragma once

#include <string>

namespace cl {

// Whether to bring the network back on a resume. False also when the setting can't be read.
bool autostart_enabled();

// The two texts in the ANSI code page. What can't be read is empty, and so is a passphrase that can't be
// unprotected. The caller wipes `password`.
void read_wifi_config(std::string& ssid, std::string& password);

} // namespace cl
