// The session over a scripted API: every call failing in turn, and what is open, freed and said then.
#include "cl/wifi/reason_text.hpp"
#include "cl/wifi/wireless_hosted_network.hpp"
#include "fakes/scripted_wlan.hpp"

#include <gtest/gtest.h>
#include <limits>

namespace {

using cl::wireless_hosted_network;
using fakes::wlan_machine;

TEST(wireless_hosted_network, every_step_of_a_session) {
    wlan_machine api;
    {
        wireless_hosted_network network;
        ASSERT_TRUE(network.loaded());
        EXPECT_TRUE(network.start("home", "a passphrase"));
        EXPECT_EQ(api.all_calls(), "OpenHandle 2\nInitSettings\nQueryStatus\nQueryProperty 3\nForceStop\n"
                                   "QueryProperty 0\nSetProperty 0 = 4 home 7\n"
                                   "SetSecondaryKey 13 a passphrase. 11\nForceStart\n");

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
        api.calls.clear();
        EXPECT_TRUE(network.stop()) << "without a session";
        EXPECT_EQ(api.all_calls(), "OpenHandle 2\nForceStop\nCloseHandle\n");

        api.without_block = {"QueryProperty 3", "QueryProperty 0"};
        api.enabled = 1;
        const std::string longest(32, 's');
        EXPECT_TRUE(network.start(longest, "12345678"));
        EXPECT_NE(api.all_calls().find("SetProperty 3 = 1\nForceStop\nQueryProperty 0\nSetProperty 0 = 32 " +
                                       longest + " 100\n"),
                  std::string::npos);
        api.calls.clear();
        EXPECT_FALSE(network.start(longest + "s", "12345678"));
        EXPECT_EQ(network.last_error(), "SSID too long.");
        EXPECT_EQ(api.all_calls(), "ForceStop\nCloseHandle\n");
        EXPECT_TRUE(network.stop());
        EXPECT_EQ(network.last_error(), "");

        EXPECT_TRUE(network.start("home", "12345678"));
        api.calls.clear();
    }
    EXPECT_EQ(api.all_calls(), "CloseHandle\n") << "the network keeps running";
    EXPECT_TRUE(api.open.empty() && api.blocks.empty());
    EXPECT_EQ(api.loads, 0);
}

TEST(wireless_hosted_network, every_failure_has_its_sentence) {
    constexpr std::uint32_t unavailable = 0xFFFFFF00, without_block = 0xFFFFFF01; // no errors
    const std::string why = "The operation was denied by group policy.", query = "Error querying network ",
                      property = query + "property: ", status = query + "status: ",
                      storage = "Not enough storage is available to complete this operation.",
                      service = "The service has not been started.", stop = "Error stopping network: ",
                      not_now =
                          "The resource is not in the correct state to perform the requested operation.",
                      rights = "The caller does not have sufficient permissions",
                      memory = "Failed to allocate memory to create the client context.",
                      handles = "Too many handles have been issued by the server.";
    const struct {
        std::string call;
        std::uint32_t error;
        std::string text;
        bool stopping = false;
    } rows[] = {
        {"OpenHandle 2", 8, memory},
        {"OpenHandle 2", 1220, handles},
        {"OpenHandle 2", 99, "Error 99 creating client context."},
        {"InitSettings", 0xFFFFFFFF, "Error 4294967295 initializing network settings: " + why},
        {"QueryStatus", 1062, status + service},
        {"QueryStatus", 5023, status + not_now},
        {"QueryStatus", 99, "Error 99 querying network status."},
        {"QueryStatus", without_block, "Error 87 querying network status."},
        {"QueryStatus", unavailable, "Network is unavailable."},
        {"QueryProperty 3", 14, property + storage},
        {"QueryProperty 3", 1062, property + service},
        {"QueryProperty 3", 5023, property + not_now},
        {"QueryProperty 3", 1610, "Error 1610 querying network property."},
        {"SetProperty 3", 5,
         "Error enabling the network: " + rights +
             " or the wireless Hosted Network is disabled by group policy on a domain."},
        {"SetProperty 3", 99, "Error 99 enabling the network: " + why},
        {"QueryProperty 0", 14, property + storage},
        {"QueryProperty 0", 1610,
         property + "The configuration data for the wireless Hosted Network is unconfigured."},
        {"QueryProperty 0", 99, "Error 99 querying network property."},
        {"SetProperty 0", 5, "Error setting SSID and maximum number of peers: " + rights + "."},
        {"SetProperty 0", 99, "Error 99 setting SSID and maximum number of peers: " + why},
        {"SetSecondaryKey", 5, "Error 5 setting secondary key: " + why},
        {"ForceStart", 99, "Error 99 starting the network: " + why},
        {"ForceStop", 1062, stop + service, true},
        {"ForceStop", 5023, stop + not_now, true},
        {"ForceStop", 99, "Error 99 stopping network: " + why, true},
        {"OpenHandle 2", 1220, handles, true},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.call + ", error " + std::to_string(r.error));
        wlan_machine api;
        api.enabled = 0;
        api.reasons[r.call] = 23;
        if (r.error == unavailable)
            api.state = VFL_WLAN_UNAVAILABLE;
        else if (r.error == without_block)
            api.without_block = {r.call};
        else
            api.errors[r.call] = r.error;
        {
            wireless_hosted_network network;
            EXPECT_FALSE(r.stopping ? network.stop() : network.start("home", "12345678"));
            EXPECT_EQ(network.last_error(), r.text);
            EXPECT_EQ(api.open.size(), r.call == "OpenHandle 2" ? 0u : 1u) << "kept for the next try";
            EXPECT_TRUE(api.blocks.empty());
            EXPECT_TRUE(api.calls.back().starts_with(r.call)) << "nothing behind the failure";

            api.errors.clear();
            api.without_block.clear();
            api.state = VFL_WLAN_ACTIVE;
            EXPECT_TRUE(network.start("home", "12345678"));
            EXPECT_EQ(network.last_error(), "");
            EXPECT_EQ(api.open.size(), 1u) << "the old session is closed";
        }
        EXPECT_TRUE(api.open.empty() && api.blocks.empty());
        EXPECT_EQ(api.all_calls().find("isn't open"), std::string::npos);
    }
}

TEST(wireless_hosted_network, a_session_that_cannot_be_stopped_is_overwritten) {
    wlan_machine api;
    {
        wireless_hosted_network network;
        ASSERT_TRUE(network.start("home", "12345678"));
        api.errors["ForceStop"] = 1062;
        EXPECT_TRUE(network.start("home", "12345678")) << "neither refusal to stop counts";
        EXPECT_EQ(network.last_error(), "");

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
        const char* failing;
        std::uint32_t told;
        std::int32_t state;
    } rows[] = {
        {"", 0, 0},
        {"", 1, 1},
        {"", 2, 2},
        {"OpenHandle 2", 2, 0},
        {"InitSettings", 2, 2},
        {"QueryStatus", 2, 0},
        {"no block", 2, 0},
    };
    for (const auto& r : rows) {
        for (const bool session : {false, true}) {
            SCOPED_TRACE(testing::Message() << r.failing << r.told << (session ? " in a session" : ""));
            wlan_machine api;
            wireless_hosted_network network;
            if (session) {
                ASSERT_TRUE(network.start("home", "12345678"));
            } else {
                EXPECT_FALSE(network.start(std::string(33, 's'), "")) << "leaves a sentence";
            }
            const std::string said = network.last_error();
            api.calls.clear();
            api.state = r.told;
            api.errors[r.failing] = 5;
            if (r.failing == std::string("no block"))
                api.without_block = {"QueryStatus"};
            const bool no_client = r.failing == std::string("OpenHandle 2");
            EXPECT_EQ(network.query_state(), session && no_client ? 2 : r.state);
            EXPECT_EQ(api.all_calls(), session ? "InitSettings\nQueryStatus\n"
                                       : no_client
                                           ? "OpenHandle 2\n"
                                           : "OpenHandle 2\nInitSettings\nQueryStatus\nCloseHandle\n");
            EXPECT_EQ(api.open.size(), session ? 1u : 0u);
            EXPECT_TRUE(api.blocks.empty());
            EXPECT_EQ(network.last_error(), said);
        }
    }
}

TEST(wireless_hosted_network, without_the_whole_api_nothing_is_called) {
    const std::string order = "WlanOpenHandle WlanCloseHandle WlanHostedNetworkInitSettings "
                              "WlanHostedNetworkQueryStatus WlanFreeMemory WlanHostedNetworkQueryProperty "
                              "WlanHostedNetworkSetProperty WlanHostedNetworkForceStart "
                              "WlanHostedNetworkForceStop WlanHostedNetworkStartUsing "
                              "WlanHostedNetworkSetSecondaryKey WlanRegisterNotification WlanEnumInterfaces ";
    for (std::size_t end = 0; end != std::string::npos; end = order.find(' ', end + 1)) {
        wlan_machine api;
        api.present = end != 0;
        api.missing = order.substr(0, end).substr(order.substr(0, end).rfind(' ') + 1);
        SCOPED_TRACE(api.missing);
        {
            wireless_hosted_network network;
            EXPECT_FALSE(network.loaded());
            EXPECT_EQ(network.query_state(), 0);
            EXPECT_EQ(network.last_error(), "");
            EXPECT_FALSE(network.start(std::string(33, 's'), ""));
            EXPECT_EQ(network.last_error(), "Could not load functions from WLANAPI.DLL.");
            EXPECT_FALSE(network.stop());
            EXPECT_EQ(network.last_error(), "Could not load functions from WLANAPI.DLL.");
        }
        EXPECT_TRUE(api.calls.empty());
        EXPECT_EQ(api.loads, 0);
        std::string bound;
        for (const std::string& name : api.bound)
            bound += (bound.empty() ? "" : " ") + name;
        EXPECT_EQ(bound, order.substr(0, end)) << "in order, up to the first gap";
    }
}

TEST(reason_text, codes_at_the_ends_of_the_table) {
    EXPECT_EQ(cl::reason_text(0), "The operation was successful.");
    EXPECT_EQ(cl::reason_text(13), "The wireless miniport driver stopped the Hosted Network.");
    EXPECT_EQ(cl::reason_text(28), "An identical service is available on a virtual station.");
    EXPECT_EQ(cl::reason_text(29), "Wireless Hosted Network Fail Reason Code: 29.");
    EXPECT_EQ(cl::reason_text(std::numeric_limits<std::int32_t>::min()),
              "Wireless Hosted Network Fail Reason Code: -2147483648.");
}

} // namespace
