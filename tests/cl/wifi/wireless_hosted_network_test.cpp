// The session over a scripted API: every call failing in turn, and what is open, freed and said then.
#include "cl/wifi/reason_text.hpp"
#include "cl/wifi/wireless_hosted_network.hpp"
#include "scripted_wlan.hpp"

#include <gtest/gtest.h>
#include <limits>

namespace {

using cl::wireless_hosted_network;
using fakes::wlan_machine;

constexpr const char* not_loaded = "Could not load functions from WLANAPI.DLL.";

TEST(wireless_hosted_network, every_step_of_a_session) {
    wlan_machine api;
    {
        wireless_hosted_network network;
        ASSERT_TRUE(network.loaded());
        EXPECT_TRUE(network.start("home", "a passphrase"));
        EXPECT_EQ(network.last_error(), "");
        EXPECT_EQ(api.all_calls(), "OpenHandle 2\nInitSettings\nQueryStatus\nQueryProperty 3\nForceStop\n"
                                   "QueryProperty 0\nSetProperty 0 = 4 home 7\n"
                                   "SetSecondaryKey 13 a passphrase. 11\nForceStart\n");
        EXPECT_TRUE(api.blocks.empty());
        EXPECT_EQ(api.open.size(), 1u);

        // Again: the open session is closed first. The network was switched off, the system names no peers.
        api.calls.clear();
        api.enabled = 0;
        api.settings_size = sizeof(vfl_wlan_settings) - 1;
        EXPECT_TRUE(network.start("", ""));
        EXPECT_EQ(api.all_calls(), "ForceStop\nCloseHandle\nOpenHandle 2\nInitSettings\nQueryStatus\n"
                                   "QueryProperty 3\nSetProperty 3 = 1\nForceStop\nQueryProperty 0\n"
                                   "SetProperty 0 = 0  100\nSetSecondaryKey 1 . 11\nForceStart\n");
        EXPECT_EQ(api.open.size(), 1u);

        api.calls.clear();
        EXPECT_TRUE(network.stop());
        EXPECT_EQ(api.all_calls(), "ForceStop\nCloseHandle\n");
        EXPECT_TRUE(api.open.empty());
        api.calls.clear();
        EXPECT_TRUE(network.stop()) << "without a session";
        EXPECT_EQ(api.all_calls(), "OpenHandle 2\nForceStop\nCloseHandle\n");

        api.without_block = {"QueryProperty 3", "QueryProperty 0"};
        api.enabled = 1;
        api.calls.clear();
        const std::string longest(32, 's');
        EXPECT_TRUE(network.start(longest, "12345678"));
        EXPECT_NE(api.all_calls().find("SetProperty 3 = 1\nForceStop\nQueryProperty 0\nSetProperty 0 = 32 " +
                                       longest + " 100\n"),
                  std::string::npos);
        api.calls.clear();
        EXPECT_FALSE(network.start(longest + "s", "12345678"));
        EXPECT_EQ(network.last_error(), "SSID too long.");
        EXPECT_EQ(api.all_calls(), "ForceStop\nCloseHandle\n");

        EXPECT_TRUE(network.start("home", "12345678"));
        api.calls.clear();
    }
    EXPECT_EQ(api.all_calls(), "CloseHandle\n") << "the network keeps running";
    EXPECT_TRUE(api.open.empty() && api.blocks.empty());
    EXPECT_EQ(api.loads, 0);
}

TEST(wireless_hosted_network, every_failure_has_its_sentence) {
    enum { starting, stopping };
    constexpr std::uint32_t bad = 99;
    const std::string storage = "Not enough storage is available to complete this operation.",
                      service = "The service has not been started.",
                      in_state =
                          "The resource is not in the correct state to perform the requested operation.",
                      unconfigured =
                          "The configuration data for the wireless Hosted Network is unconfigured.",
                      property = "Error querying network property: ",
                      status = "Error querying network status: ", stop = "Error stopping network: ",
                      memory = "Failed to allocate memory to create the client context.",
                      handles = "Too many handles have been issued by the server.",
                      why = "The operation was denied by group policy.";
    const struct {
        int what;
        std::string call;
        std::uint32_t error;
        std::string text;
    } rows[] = {
        {starting, "OpenHandle 2", 8, memory},
        {starting, "OpenHandle 2", 1220, handles},
        {starting, "OpenHandle 2", bad, "Error 99 creating client context."},
        {starting, "InitSettings", bad, "Error 99 initializing network settings: " + why},
        {starting, "InitSettings", 0xFFFFFFFF, "Error 4294967295 initializing network settings: " + why},
        {starting, "QueryStatus", 1062, status + service},
        {starting, "QueryStatus", 5023, status + in_state},
        {starting, "QueryStatus", bad, "Error 99 querying network status."},
        {starting, "QueryProperty 3", 14, property + storage},
        {starting, "QueryProperty 3", 1062, property + service},
        {starting, "QueryProperty 3", 5023, property + in_state},
        {starting, "QueryProperty 3", 1610, "Error 1610 querying network property."},
        {starting, "QueryProperty 3", bad, "Error 99 querying network property."},
        {starting, "SetProperty 3", 5,
         "Error enabling the network: The caller does not have sufficient permissions or the wireless "
         "Hosted Network is disabled by group policy on a domain."},
        {starting, "SetProperty 3", bad, "Error 99 enabling the network: " + why},
        {starting, "QueryProperty 0", 14, property + storage},
        {starting, "QueryProperty 0", 1062, property + service},
        {starting, "QueryProperty 0", 1610, property + unconfigured},
        {starting, "QueryProperty 0", 5023, property + in_state},
        {starting, "QueryProperty 0", bad, "Error 99 querying network property."},
        {starting, "SetProperty 0", 5,
         "Error setting SSID and maximum number of peers: The caller does not have sufficient permissions."},
        {starting, "SetProperty 0", bad, "Error 99 setting SSID and maximum number of peers: " + why},
        {starting, "SetSecondaryKey", 5, "Error 5 setting secondary key: " + why},
        {starting, "ForceStart", bad, "Error 99 starting the network: " + why},
        {stopping, "OpenHandle 2", 8, memory},
        {stopping, "OpenHandle 2", 1220, handles},
        {stopping, "OpenHandle 2", bad, "Error 99 creating client context."},
        {stopping, "ForceStop", 1062, stop + service},
        {stopping, "ForceStop", 5023, stop + in_state},
        {stopping, "ForceStop", bad, "Error 99 stopping network: " + why},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.call + ", error " + std::to_string(r.error));
        wlan_machine api;
        api.enabled = 0;
        api.errors[r.call] = r.error;
        api.reasons[r.call] = 23;
        {
            wireless_hosted_network network;
            EXPECT_FALSE(r.what == starting ? network.start("home", "12345678") : network.stop());
            EXPECT_EQ(network.last_error(), r.text);
            EXPECT_EQ(api.open.size(), r.call == "OpenHandle 2" ? 0u : 1u) << "kept for the next try";
            EXPECT_TRUE(api.blocks.empty());
            EXPECT_TRUE(api.calls.back().starts_with(r.call)) << "nothing behind the failure";

            api.errors.clear();
            EXPECT_TRUE(network.start("home", "12345678"));
            EXPECT_EQ(network.last_error(), "");
            EXPECT_EQ(api.open.size(), 1u) << "the old session is closed";
        }
        EXPECT_TRUE(api.open.empty() && api.blocks.empty());
        EXPECT_EQ(api.all_calls().find("isn't open"), std::string::npos);
    }
}

TEST(wireless_hosted_network, a_status_that_forbids_the_start) {
    wlan_machine api;
    wireless_hosted_network network;
    api.state = VFL_WLAN_UNAVAILABLE;
    EXPECT_FALSE(network.start("home", "12345678"));
    EXPECT_EQ(network.last_error(), "Network is unavailable.");
    EXPECT_TRUE(api.blocks.empty());
    api.without_block = {"QueryStatus"};
    EXPECT_FALSE(network.start("home", "12345678"));
    EXPECT_EQ(network.last_error(), "Error 87 querying network status.");
    EXPECT_EQ(api.open.size(), 1u);
}

TEST(wireless_hosted_network, a_session_that_cannot_be_stopped_is_overwritten) {
    wlan_machine api;
    {
        wireless_hosted_network network;
        ASSERT_TRUE(network.start("home", "12345678"));
        api.errors["ForceStop"] = 1062;
        EXPECT_TRUE(network.start("home", "12345678")) << "neither refusal to stop counts";
        EXPECT_EQ(network.last_error(), "");
        EXPECT_EQ(api.open, (std::set<vfl_wlan_client>{1, 2}));

        // The reason that a call doesn't set is that of the call before it.
        api.reasons["ForceStop"] = 10;
        api.errors["SetSecondaryKey"] = 87;
        EXPECT_FALSE(network.start("home", "short"));
        EXPECT_EQ(network.last_error(),
                  "Error 87 setting secondary key: An incorrect function call sequence was made.");
        api.errors["OpenHandle 2"] = 8;
        EXPECT_FALSE(network.start("home", "12345678"));
        EXPECT_EQ(network.query_state(), 1) << "the session of before is still there";
    }
    EXPECT_EQ(api.open, (std::set<vfl_wlan_client>{1, 2})) << "closes its own session alone";
}

TEST(wireless_hosted_network, state) {
    const struct {
        const char* name;
        std::string failing;
        bool block;
        std::uint32_t told;
        std::int32_t state;
        const char* calls; // without a session
    } rows[] = {
        {"unavailable", "", true, 0, 0, "OpenHandle 2\nInitSettings\nQueryStatus\nCloseHandle\n"},
        {"idle", "", true, 1, 1, "OpenHandle 2\nInitSettings\nQueryStatus\nCloseHandle\n"},
        {"active", "", true, 2, 2, "OpenHandle 2\nInitSettings\nQueryStatus\nCloseHandle\n"},
        {"no client", "OpenHandle 2", true, 2, 0, "OpenHandle 2\n"},
        {"no settings", "InitSettings", true, 2, 2, "OpenHandle 2\nInitSettings\nQueryStatus\nCloseHandle\n"},
        {"no status", "QueryStatus", true, 2, 0, "OpenHandle 2\nInitSettings\nQueryStatus\nCloseHandle\n"},
        {"no block", "", false, 2, 0, "OpenHandle 2\nInitSettings\nQueryStatus\nCloseHandle\n"},
    };
    for (const auto& r : rows) {
        for (const bool session : {false, true}) {
            SCOPED_TRACE(testing::Message() << r.name << (session ? " in a session" : ""));
            wlan_machine api;
            wireless_hosted_network network;
            ASSERT_EQ(network.start("home", "12345678"), true);
            if (!session) {
                ASSERT_TRUE(network.stop());
            }
            EXPECT_FALSE(network.start(std::string(33, 's'), "")) << "leaves a sentence";
            if (session) {
                ASSERT_TRUE(network.start("home", "12345678"));
            }
            const std::string said = network.last_error();
            api.calls.clear();
            api.state = r.told;
            if (!r.failing.empty())
                api.errors[r.failing] = 5;
            if (!r.block)
                api.without_block = {"QueryStatus"};
            EXPECT_EQ(network.query_state(), session && r.failing == "OpenHandle 2" ? 2 : r.state);
            EXPECT_EQ(api.all_calls(), session ? "InitSettings\nQueryStatus\n" : r.calls);
            EXPECT_EQ(api.open.size(), session ? 1u : 0u);
            EXPECT_TRUE(api.blocks.empty());
            EXPECT_EQ(network.last_error(), said);
        }
    }
}

TEST(wireless_hosted_network, without_the_whole_api_nothing_is_called) {
    const char* const names[] = {"WlanOpenHandle",
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
                                 "no library"};
    for (std::size_t i = 0; i < std::size(names); ++i) {
        SCOPED_TRACE(names[i]);
        wlan_machine api;
        api.missing = names[i];
        api.present = api.missing != "no library";
        {
            wireless_hosted_network network;
            EXPECT_FALSE(network.loaded());
            EXPECT_EQ(network.query_state(), 0);
            EXPECT_EQ(network.last_error(), "");
            EXPECT_FALSE(network.start(std::string(33, 's'), ""));
            EXPECT_EQ(network.last_error(), not_loaded);
            EXPECT_FALSE(network.stop());
            EXPECT_EQ(network.last_error(), not_loaded);
        }
        EXPECT_TRUE(api.calls.empty());
        EXPECT_EQ(api.loads, 0);
        const std::size_t asked = api.present ? i + 1 : 0;
        EXPECT_EQ(api.bound, std::vector<std::string>(names, names + asked))
            << "in order, up to the first gap";
    }
}

TEST(reason_text, codes_at_the_ends_of_the_table) {
    EXPECT_EQ(cl::reason_text(0), "The operation was successful.");
    EXPECT_EQ(cl::reason_text(13), "The wireless miniport driver stopped the Hosted Network.");
    EXPECT_EQ(cl::reason_text(28), "An identical service is available on a virtual station.");
    EXPECT_EQ(cl::reason_text(29), "Wireless Hosted Network Fail Reason Code: 29.");
    EXPECT_EQ(cl::reason_text(-1), "Wireless Hosted Network Fail Reason Code: -1.");
    EXPECT_EQ(cl::reason_text(std::numeric_limits<std::int32_t>::min()),
              "Wireless Hosted Network Fail Reason Code: -2147483648.");
}

} // namespace
