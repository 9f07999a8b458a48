// The machine as a wireless access point: the operating system's Wireless Hosted Network. This is the one
// class that talks to the WLAN client API, which it binds at run time, so that a system without it still
// runs.
#pragma once

#include "cl/sys/bound_function.hpp"
#include "cl/wifi/wlan_api.h"

#include <cstdint>
#include <string>

namespace cl {

// A session. An instance belongs to one thread; instances share nothing but the system's one network, which
// outlives them all. Nothing throws but the strings, on lack of memory: a failure leaves a sentence in
// last_error.
class wireless_hosted_network {
public:
    // Binds the API. Without it every operation fails with the same sentence.
    wireless_hosted_network();
    // Closes the session. The network keeps running.
    ~wireless_hosted_network();
    wireless_hosted_network(const wireless_hosted_network&) = delete;
    wireless_hosted_network& operator=(const wireless_hosted_network&) = delete;

    // Configures the network and starts it, closing this object's open session first and stopping whatever
    // network runs. `ssid`: at most 32 bytes. `password` goes to the system as it is, which refuses anything
    // but 8 to 63 characters; no copy of it is kept. True when the system has accepted the start: the
    // network becomes active later, or not. The session stays open, also after most failures.
    bool start(const std::string& ssid, const std::string& password);

    // Stops the network and closes the session; opens one if there is none. After a failed stop it stays
    // open.
    bool stop();

    // The state of the network (VFL_WLAN_...); 0 also for every failure. Changes neither the session nor
    // last_error.
    std::int32_t query_state();

    // Whether the whole API was found.
    bool loaded() const { return loaded_; }

    // Why the last start or stop failed, a sentence without a line feed; empty after a success.
    const std::string& last_error() const { return last_error_; }

private:
    static constexpr vfl_wlan_client no_client = ~vfl_wlan_client{0};

    bool fail(std::string text);
    bool open_client();
    // Reads a property into exactly `size` bytes at `out`, which stay as they are when no block of that size
    // came back. The error of the query.
    std::uint32_t query_property(std::uint32_t property, void* out, std::uint32_t size);
    bool query_failed(std::uint32_t error, bool may_be_unconfigured);
    bool configure(const std::string& ssid, const std::string& password, std::uint32_t& reason);

    // In the order in which they are bound; what comes after a missing one stays unbound.
    bound_function<vfl_wlan_open_handle> open_handle_;
    bound_function<vfl_wlan_close_handle> close_handle_;
    bound_function<vfl_wlan_init_settings> init_settings_;
    bound_function<vfl_wlan_query_status> query_status_;
    bound_function<vfl_wlan_free_memory> free_memory_;
    bound_function<vfl_wlan_query_property> get_property_;
    bound_function<vfl_wlan_set_property> set_property_;
    bound_function<vfl_wlan_force> force_start_;
    bound_function<vfl_wlan_force> force_stop_;
    bound_function<void()> start_using_; // not called, like the last two
    bound_function<vfl_wlan_set_secondary_key> set_secondary_key_;
    bound_function<void()> register_notification_;
    bound_function<void()> enum_interfaces_;
    bool loaded_ = false;
    vfl_wlan_client client_ = no_client;
    std::string last_error_;
};

} // namespace cl
