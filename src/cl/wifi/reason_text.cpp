#include "cl/wifi/reason_text.hpp"

#include "cl/format/text.hpp"

#include <cstddef>
#include <iterator>

namespace cl {

namespace {

// By the platform's numbers (WLAN_HOSTED_NETWORK_REASON), from 0.
constexpr const char* sentences[] = {
    "The operation was successful.",
    "Unknown error.",
    "Bad parameters.",
    "Service is shutting down.",
    "Service is out of resources.",
    "This operation requires elevation.",
    "An attempt was made to write read-only data.",
    "Data persistence failed.",
    "A cryptographic error occurred.",
    "User impersonation failed.",
    "An incorrect function call sequence was made.",
    "A wireless interface has become available.",
    "A wireless interface has become unavailable.",
    "The wireless miniport driver stopped the Hosted Network.",
    "The wireless miniport driver status changed.",
    "An incompatible connection started.",
    "An incompatible connection stopped.",
    "A state change occurred that was caused by explicit user action.",
    "A state change occurred that was caused by client abort.",
    "The driver for the wireless Hosted Network failed to start.",
    "A peer connected to the wireless Hosted Network.",
    "A peer disconnected from the wireless Hosted Network.",
    "A peer timed out.",
    "The operation was denied by group policy.",
    "The Wireless LAN service is not running.",
    "The wireless adapter used by the wireless Hosted Network changed.",
    "The properties of the wireless Hosted Network changed.",
    "A virtual station is active and blocking operation.",
    "An identical service is available on a virtual station.",
};

} // namespace

std::string reason_text(std::int32_t code) {
    if (code < 0 || static_cast<std::size_t>(code) >= std::size(sentences))
        return text("Wireless Hosted Network Fail Reason Code: %?.", code);
    return sentences[code];
}

} // namespace cl
