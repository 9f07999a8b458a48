#include "cl/wifi/wireless_hosted_network.hpp"

#include "cl/format/format.hpp"
#include "cl/wifi/reason_text.hpp"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace cl {

namespace {

enum entry : std::size_t {
    open_handle,
    close_handle,
    init_settings,
    query_status,
    free_memory,
    get_property,
    set_property,
    force_start,
    force_stop,
    start_using, // this and the two below are bound and not called
    set_secondary_key,
    register_notification,
    enum_interfaces,
};

constexpr const char* entry_names[] = {
    "WlanOpenHandle",
    "WlanCloseHandle",
    "WlanHostedNetworkInitSettings",
    "WlanHostedNetworkQueryStatus",
    "WlanFreeMemory",
    "WlanHostedNetworkQueryProperty",
    "WlanHostedNetworkSetProperty",
    "WlanHostedNetworkForceStart",
    "WlanHostedNetworkForceStop",
    "WlanHostedNetworkStartUsing",
    "WlanHostedNetworkSetSecondaryKey",
    "WlanRegisterNotification",
    "WlanEnumInterfaces",
};

// The Windows errors that have a sentence of their own, and the one that stands for a query without an
// answer.
constexpr std::uint32_t error_access_denied = 5, error_not_enough_memory = 8, error_outofmemory = 14,
                        error_invalid_parameter = 87, error_service_not_active = 1062,
                        error_remote_session_limit = 1220, error_bad_configuration = 1610,
                        error_invalid_state = 5023;

// The peers that are let in when the system names no number.
constexpr std::uint32_t default_max_peers = 100;

static_assert(sizeof(vfl_wlan_settings) == 40);

constexpr const char* not_loaded = "Could not load functions from WLANAPI.DLL.";

std::string error_text(const char* format, std::uint32_t error) {
    return (basic_format<char>(format) << error).str();
}

std::string error_text(const char* format, std::uint32_t error, std::uint32_t reason) {
    return (basic_format<char>(format) << error << reason_text(static_cast<std::int32_t>(reason))).str();
}

// What a query returned, given back at the end of the scope.
class api_block {
public:
    explicit api_block(vfl_wlan_free_memory* free) : free_(free) {}
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
    vfl_wlan_free_memory* free_;
};

} // namespace

wireless_hosted_network::wireless_hosted_network() {
    static_assert(std::size(entry_names) == entry_count);
    for (std::size_t i = 0; i < entry_count; ++i)
        if (!entries_[i].emplace(VFL_WLAN_LIBRARY, entry_names[i]).address)
            return;
    loaded_ = true;
}

wireless_hosted_network::~wireless_hosted_network() {
    if (client_ != no_client)
        call<vfl_wlan_close_handle>(close_handle)(client_, nullptr);
}

bool wireless_hosted_network::fail(std::string text) {
    last_error_ = std::move(text);
    return false;
}

bool wireless_hosted_network::open_client() {
    std::uint32_t negotiated = 0;
    vfl_wlan_client opened = no_client;
    const std::uint32_t error =
        call<vfl_wlan_open_handle>(open_handle)(VFL_WLAN_CLIENT_VERSION, nullptr, &negotiated, &opened);
    switch (error) {
    case 0:
        // A session that could not be stopped is overwritten here, deliberately.
        client_ = opened;
        return true;
    case error_not_enough_memory:
        return fail("Failed to allocate memory to create the client context.");
    case error_remote_session_limit:
        return fail("Too many handles have been issued by the server.");
    default:
        return fail(error_text("Error %? creating client context.", error));
    }
}

std::int32_t wireless_hosted_network::query_state() {
    if (!loaded_)
        return VFL_WLAN_UNAVAILABLE;
    vfl_wlan_client client = client_;
    if (client == no_client) {
        std::uint32_t negotiated = 0;
        if (call<vfl_wlan_open_handle>(open_handle)(VFL_WLAN_CLIENT_VERSION, nullptr, &negotiated, &client))
            return VFL_WLAN_UNAVAILABLE;
    }
    // The system may not have made the network's settings yet; if it can't, the query tells.
    std::uint32_t reason = 0;
    call<vfl_wlan_init_settings>(init_settings)(client, &reason, nullptr);

    std::int32_t state = VFL_WLAN_UNAVAILABLE;
    {
        api_block status(call<vfl_wlan_free_memory>(free_memory));
        if (call<vfl_wlan_query_status>(query_status)(client, &status.data, nullptr) == 0 && status.data)
            state = static_cast<std::int32_t>(status.first_word());
    }
    if (client != client_)
        call<vfl_wlan_close_handle>(close_handle)(client, nullptr);
    return state;
}

std::uint32_t wireless_hosted_network::query_property(std::uint32_t property, void* out, std::uint32_t size) {
    api_block block(call<vfl_wlan_free_memory>(free_memory));
    std::uint32_t got_size = 0, value_type = 0;
    const std::uint32_t error = call<vfl_wlan_query_property>(get_property)(
        client_, property, &got_size, &block.data, &value_type, nullptr);
    if (error == 0 && block.data && got_size >= size)
        std::memcpy(out, block.data, size);
    return error;
}

bool wireless_hosted_network::query_failed(std::uint32_t error, bool may_be_unconfigured) {
    switch (error) {
    case error_outofmemory:
        return fail("Error querying network property: Not enough storage is available to complete this "
                    "operation.");
    case error_service_not_active:
        return fail("Error querying network property: The service has not been started.");
    case error_invalid_state:
        return fail("Error querying network property: The resource is not in the correct state to perform "
                    "the requested operation.");
    case error_bad_configuration:
        if (may_be_unconfigured)
            return fail("Error querying network property: The configuration data for the wireless Hosted "
                        "Network is unconfigured.");
        [[fallthrough]];
    default:
        return fail(error_text("Error %? querying network property.", error));
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

    // One for all calls: a call that sets none is told with that of the call before it.
    std::uint32_t reason = 0;
    if (const std::uint32_t error = call<vfl_wlan_init_settings>(init_settings)(client_, &reason, nullptr))
        return fail(error_text("Error %? initializing network settings: %?", error, reason));

    api_block status(call<vfl_wlan_free_memory>(free_memory));
    std::uint32_t error = call<vfl_wlan_query_status>(query_status)(client_, &status.data, nullptr);
    if (error == 0 && !status.data)
        error = error_invalid_parameter;
    switch (error) {
    case 0:
        break;
    case error_service_not_active:
        return fail("Error querying network status: The service has not been started.");
    case error_invalid_state:
        return fail("Error querying network status: The resource is not in the correct state to perform the "
                    "requested operation.");
    default:
        return fail(error_text("Error %? querying network status.", error));
    }
    if (status.first_word() == VFL_WLAN_UNAVAILABLE)
        return fail("Network is unavailable.");

    if (!configure(ssid, password, reason))
        return false;
    if ((error = call<vfl_wlan_force>(force_start)(client_, &reason, nullptr)))
        return fail(error_text("Error %? starting the network: %?", error, reason));
    last_error_.clear();
    return true;
}

bool wireless_hosted_network::configure(const std::string& ssid, const std::string& password,
                                        std::uint32_t& reason) {
    std::uint32_t enabled = 0;
    if (const std::uint32_t error = query_property(VFL_WLAN_ENABLED, &enabled, sizeof enabled))
        return query_failed(error, false);
    const auto set = call<vfl_wlan_set_property>(set_property);
    if (!enabled) {
        const std::uint32_t on = 1;
        const std::uint32_t error = set(client_, VFL_WLAN_ENABLED, sizeof on, &on, &reason, nullptr);
        if (error == error_access_denied)
            return fail("Error enabling the network: The caller does not have sufficient permissions or the "
                        "wireless Hosted Network is disabled by group policy on a domain.");
        if (error)
            return fail(error_text("Error %? enabling the network: %?", error, reason));
    }

    // A network that runs takes no settings. One that doesn't run refuses to stop, which is no error here.
    call<vfl_wlan_force>(force_stop)(client_, &reason, nullptr);

    vfl_wlan_settings settings{};
    settings.max_peers = default_max_peers;
    if (const std::uint32_t error = query_property(VFL_WLAN_CONNECTION_SETTINGS, &settings, sizeof settings))
        return query_failed(error, true);
    settings.ssid_length = static_cast<std::uint32_t>(ssid.size());
    std::fill(std::copy(ssid.begin(), ssid.end(), settings.ssid), std::end(settings.ssid), std::uint8_t{0});
    std::uint32_t error =
        set(client_, VFL_WLAN_CONNECTION_SETTINGS, sizeof settings, &settings, &reason, nullptr);
    if (error == error_access_denied)
        return fail("Error setting SSID and maximum number of peers: The caller does not have sufficient "
                    "permissions.");
    if (error)
        return fail(error_text("Error %? setting SSID and maximum number of peers: %?", error, reason));

    error = call<vfl_wlan_set_secondary_key>(set_secondary_key)(
        client_, static_cast<std::uint32_t>(password.size() + 1),
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
    const std::uint32_t error = call<vfl_wlan_force>(force_stop)(client_, &reason, nullptr);
    switch (error) {
    case 0:
        break;
    case error_service_not_active:
        return fail("Error stopping network: The service has not been started.");
    case error_invalid_state:
        return fail("Error stopping network: The resource is not in the correct state to perform the "
                    "requested operation.");
    default:
        return fail(error_text("Error %? stopping network: %?", error, reason));
    }
    call<vfl_wlan_close_handle>(close_handle)(client_, nullptr);
    client_ = no_client;
    last_error_.clear();
    return true;
}

} // namespace cl
