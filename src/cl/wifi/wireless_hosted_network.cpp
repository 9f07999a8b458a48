#include "cl/wifi/wireless_hosted_network.hpp"

#include "cl/format/text.hpp"
#include "cl/os/error.hpp"
#include "cl/wifi/reason_text.hpp"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace cl {

namespace {

// The peers that are let in when the system names no number.
constexpr std::uint32_t default_max_peers = 100;

static_assert(sizeof(vfl_wlan_settings) == 40);

constexpr const char* not_loaded = "Could not load functions from WLANAPI.DLL.";

std::string error_text(checked_format<char, 2> format, std::uint32_t error, std::uint32_t reason) {
    return text(format, error, reason_text(static_cast<std::int32_t>(reason)));
}

// What a query returned, given back at the end of the scope.
class api_block {
public:
    explicit api_block(const bound_function<vfl_wlan_free_memory>& free) : free_(free) {}
    ~api_block() {
        if (data)
            free_(data);
    }
    api_block(const api_block&) = delete;
    api_block& operator=(const api_block&) = delete;

    std::uint32_t first_word() const {
        std::uint32_t word = 0;
        std::memcpy(&word, data, sizeof word);
        return word;
    }

    void* data = nullptr;

private:
    const bound_function<vfl_wlan_free_memory>& free_;
};

} // namespace

wireless_hosted_network::wireless_hosted_network() {
    const auto bind = [](auto& function, const char* name) { return function.bind(VFL_WLAN_LIBRARY, name); };
    loaded_ = bind(open_handle_, "WlanOpenHandle") && bind(close_handle_, "WlanCloseHandle") &&
              bind(init_settings_, "WlanHostedNetworkInitSettings") &&
              bind(query_status_, "WlanHostedNetworkQueryStatus") && bind(free_memory_, "WlanFreeMemory") &&
              bind(get_property_, "WlanHostedNetworkQueryProperty") &&
              bind(set_property_, "WlanHostedNetworkSetProperty") &&
              bind(force_start_, "WlanHostedNetworkForceStart") &&
              bind(force_stop_, "WlanHostedNetworkForceStop") &&
              bind(start_using_, "WlanHostedNetworkStartUsing") &&
              bind(set_secondary_key_, "WlanHostedNetworkSetSecondaryKey") &&
              bind(register_notification_, "WlanRegisterNotification") &&
              bind(enum_interfaces_, "WlanEnumInterfaces");
}

wireless_hosted_network::~wireless_hosted_network() {
    if (client_ != no_client)
        close_handle_(client_, nullptr);
}

bool wireless_hosted_network::fail(std::string text) {
    last_error_ = std::move(text);
    return false;
}

bool wireless_hosted_network::open_client() {
    std::uint32_t negotiated = 0;
    vfl_wlan_client opened = no_client;
    const std::uint32_t error = open_handle_(VFL_WLAN_CLIENT_VERSION, nullptr, &negotiated, &opened);
    switch (error) {
    case 0:
        // A session that could not be stopped is overwritten here, deliberately.
        client_ = opened;
        return true;
    case os::error_not_enough_memory:
        return fail("Failed to allocate memory to create the client context.");
    case os::error_remote_session_limit:
        return fail("Too many handles have been issued by the server.");
    default:
        return fail(text("Error %? creating client context.", error));
    }
}

std::int32_t wireless_hosted_network::query_state() {
    if (!loaded_)
        return VFL_WLAN_UNAVAILABLE;
    vfl_wlan_client client = client_;
    if (client == no_client) {
        std::uint32_t negotiated = 0;
        if (open_handle_(VFL_WLAN_CLIENT_VERSION, nullptr, &negotiated, &client))
            return VFL_WLAN_UNAVAILABLE;
    }
    // The system may not have made the network's settings yet; if it can't, the query fails.
    std::uint32_t reason = 0;
    init_settings_(client, &reason, nullptr);

    std::int32_t state = VFL_WLAN_UNAVAILABLE;
    {
        api_block status(free_memory_);
        if (query_status_(client, &status.data, nullptr) == 0 && status.data)
            state = static_cast<std::int32_t>(status.first_word());
    }
    if (client != client_)
        close_handle_(client, nullptr);
    return state;
}

std::uint32_t wireless_hosted_network::query_property(std::uint32_t property, void* out, std::uint32_t size) {
    api_block block(free_memory_);
    std::uint32_t got_size = 0, value_type = 0;
    const std::uint32_t error =
        get_property_(client_, property, &got_size, &block.data, &value_type, nullptr);
    if (error == 0 && block.data && got_size >= size)
        std::memcpy(out, block.data, size);
    return error;
}

bool wireless_hosted_network::query_failed(std::uint32_t error, bool may_be_unconfigured) {
    switch (error) {
    case os::error_outofmemory:
        return fail("Error querying network property: Not enough storage is available to complete this "
                    "operation.");
    case os::error_service_not_active:
        return fail("Error querying network property: The service has not been started.");
    case os::error_invalid_state:
        return fail("Error querying network property: The resource is not in the correct state to perform "
                    "the requested operation.");
    case os::error_bad_configuration:
        if (may_be_unconfigured)
            return fail("Error querying network property: The configuration data for the wireless Hosted "
                        "Network is unconfigured.");
        [[fallthrough]];
    default:
        return fail(text("Error %? querying network property.", error));
    }
}

bool wireless_hosted_network::start(const std::string& ssid, const std::string& password) {
    if (!loaded_)
        return fail(not_loaded);
    if (client_ != no_client)
        stop();
    if (ssid.size() > VFL_WLAN_SSID_BYTES)
        return fail("SSID too long.");
    if (!open_client())
        return false;

    // One for all calls: the error text of a call that sets none has that of the call before it.
    std::uint32_t reason = 0;
    if (const std::uint32_t error = init_settings_(client_, &reason, nullptr))
        return fail(error_text("Error %? initializing network settings: %?", error, reason));

    api_block status(free_memory_);
    std::uint32_t error = query_status_(client_, &status.data, nullptr);
    if (error == 0 && !status.data)
        error = os::error_invalid_parameter;
    switch (error) {
    case 0:
        break;
    case os::error_service_not_active:
        return fail("Error querying network status: The service has not been started.");
    case os::error_invalid_state:
        return fail("Error querying network status: The resource is not in the correct state to perform the "
                    "requested operation.");
    default:
        return fail(text("Error %? querying network status.", error));
    }
    if (status.first_word() == VFL_WLAN_UNAVAILABLE)
        return fail("Network is unavailable.");

    if (!configure(ssid, password, reason))
        return false;
    if ((error = force_start_(client_, &reason, nullptr)))
        return fail(error_text("Error %? starting the network: %?", error, reason));
    last_error_.clear();
    return true;
}

bool wireless_hosted_network::configure(const std::string& ssid, const std::string& password,
                                        std::uint32_t& reason) {
    std::uint32_t enabled = 0;
    if (const std::uint32_t error = query_property(VFL_WLAN_ENABLED, &enabled, sizeof enabled))
        return query_failed(error, false);
    if (!enabled) {
        const std::uint32_t on = 1;
        const std::uint32_t error =
            set_property_(client_, VFL_WLAN_ENABLED, sizeof on, &on, &reason, nullptr);
        if (error == os::error_access_denied)
            return fail("Error enabling the network: The caller does not have sufficient permissions or the "
                        "wireless Hosted Network is disabled by group policy on a domain.");
        if (error)
            return fail(error_text("Error %? enabling the network: %?", error, reason));
    }

    // A network that runs takes no settings. One that doesn't run refuses to stop, which is no error here.
    force_stop_(client_, &reason, nullptr);

    vfl_wlan_settings settings{};
    settings.max_peers = default_max_peers;
    if (const std::uint32_t error = query_property(VFL_WLAN_CONNECTION_SETTINGS, &settings, sizeof settings))
        return query_failed(error, true);
    settings.ssid_length = static_cast<std::uint32_t>(ssid.size());
    std::fill(std::copy(ssid.begin(), ssid.end(), settings.ssid), std::end(settings.ssid), std::uint8_t{0});
    std::uint32_t error =
        set_property_(client_, VFL_WLAN_CONNECTION_SETTINGS, sizeof settings, &settings, &reason, nullptr);
    if (error == os::error_access_denied)
        return fail("Error setting SSID and maximum number of peers: The caller does not have sufficient "
                    "permissions.");
    if (error)
        return fail(error_text("Error %? setting SSID and maximum number of peers: %?", error, reason));

    error =
        set_secondary_key_(client_, static_cast<std::uint32_t>(password.size() + 1),
                           reinterpret_cast<const std::uint8_t*>(password.c_str()), 1, 1, &reason, nullptr);
    if (error)
        return fail(error_text("Error %? setting secondary key: %?", error, reason));
    return true;
}

bool wireless_hosted_network::stop() {
    if (!loaded_)
        return fail(not_loaded);
    if (client_ == no_client && !open_client())
        return false;
    std::uint32_t reason = 0;
    const std::uint32_t error = force_stop_(client_, &reason, nullptr);
    switch (error) {
    case 0:
        break;
    case os::error_service_not_active:
        return fail("Error stopping network: The service has not been started.");
    case os::error_invalid_state:
        return fail("Error stopping network: The resource is not in the correct state to perform the "
                    "requested operation.");
    default:
        return fail(error_text("Error %? stopping network: %?", error, reason));
    }
    close_handle_(client_, nullptr);
    client_ = no_client;
    last_error_.clear();
    return true;
}

} // namespace cl
