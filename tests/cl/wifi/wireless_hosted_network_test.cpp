// The session over a scripted API: every call failing in turn, and what is open, freed and said then.
#include "cl/wifi/reason_text.hpp"
#include "cl/wifi/scripted_wlan.hpp"
#include "cl/wifi/wireless_hosted_network.hpp"
#include "rows.hpp"

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
    for_rows("wifi_failures.tsv", [](const row& r) {
        const std::string call = r.text("call"), error = r.text("error");
        wlan_machine api;
        api.enabled = 0;
        api.reasons[call] = 23;
        if (error == "unavailable")
            api.state = VFL_WLAN_UNAVAILABLE;
        else if (error == "no block")
            api.without_block = {call};
        else
            api.errors[call] = static_cast<std::uint32_t>(r.number("error"));
        {
            wireless_hosted_network network;
            EXPECT_FALSE(r.number("stopping") ? network.stop() : network.start("home", "12345678"));
            EXPECT_EQ(network.last_error(), r.text("said"));
            EXPECT_EQ(api.open.size(), call == "OpenHandle 2" ? 0u : 1u) << "kept for the next try";
            EXPECT_TRUE(api.blocks.empty());
            EXPECT_TRUE(api.calls.back().starts_with(call)) << "nothing behind the failure";

            api.errors.clear();
            api.without_block.clear();
            api.state = VFL_WLAN_ACTIVE;
            EXPECT_TRUE(network.start("home", "12345678"));
            EXPECT_EQ(network.last_error(), "");
            EXPECT_EQ(api.open.size(), 1u) << "the old session is closed";
        }
        EXPECT_TRUE(api.open.empty() && api.blocks.empty());
        EXPECT_EQ(api.all_calls().find("isn't open"), std::string::npos);
    });
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
        std::int32_t state, in_session;
    } rows[] = {{"", 0, 0, 0},
                {"", 1, 1, 1},
                {"", 2, 2, 2},
                {"OpenHandle 2", 2, 0, 2},
                {"InitSettings", 2, 2, 2},
                {"QueryStatus", 2, 0, 0},
                {"no block", 2, 0, 0}};
    for (const auto& r : rows) {
        for (const bool session : {false, true}) {
            SCOPED_TRACE(testing::Message() << r.failing << r.told << (session ? " in a session" : ""));
            wlan_machine api;
            wireless_hosted_network network;
            // A name that is too long leaves a sentence, which a query keeps.
            EXPECT_EQ(network.start(std::string(session ? 5 : 33, 's'), "12345678"), session);
            const std::string said = network.last_error();
            api.state = r.told;
            api.errors[r.failing] = 5;
            if (r.failing == std::string("no block"))
                api.without_block = {"QueryStatus"};
            EXPECT_EQ(network.query_state(), session ? r.in_session : r.state);
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
