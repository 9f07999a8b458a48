// The supervisor on a simulated clock: every way through it, at the last poll of each wait and one after.
#include "cl/wifi/virtual_wifi_supervisor.hpp"

#include <gtest/gtest.h>
#include <map>
#include <vector>

namespace {

constexpr std::uint32_t refused = 0xFFFFFFFF, never = 0xF0000000;

// The network's state from a time on, in milliseconds since the run began.
struct phase {
    std::uint32_t from;
    std::int32_t state;
};

struct scenario {
    const char* name;
    bool wake_up, loaded;
    std::vector<phase> before;         // until the first start that works
    std::vector<std::uint32_t> starts; // for each start the time until the network is active
    const char* said;                  // behind the first line, a letter a line
    std::int32_t result;
    std::uint32_t took;
    int queries;
    std::uint32_t step = 1000; // what a sleep of a second takes
};

const std::map<char, std::string> lines = {
    {'n', "Virtual Wi-Fi not available.\n"},
    {'f', "Virtual Wi-Fi already active.\n"},
    {'i', "Virtual Wi-Fi has been detected as inactive.\n"},
    {'l', "Virtual Wi-Fi: stopped waiting to become inactive.\n"},
    {'s', "Virtual Wi-Fi started.\n"},
    {'r', "Starting Virtual Wi-Fi failed: the reason.\n"},
    {'w', "Virtual Wi-Fi not active. Waiting...\n"},
    {'u', "Virtual Wi-Fi active.\n"},
    {'a', "Virtual Wi-Fi started again.\n"},
    {'R', "Starting Virtual Wi-Fi again failed: the reason.\n"},
    {'d', "Virtual Wi-Fi still not active.\n"},
};

struct simulated_network final : cl::supervised_network {
    simulated_network(const scenario& scene, std::uint32_t tick) : s(scene), first_tick(tick) {}

    bool loaded() override { return s.loaded; }
    std::int32_t query_state() override {
        ++queries;
        if (started)
            return now >= active_at ? 2 : 1;
        std::int32_t state = 0;
        for (const phase& p : s.before)
            if (now >= p.from)
                state = p.state;
        return state;
    }
    bool start(const std::string& ssid, const std::string& password) override {
        EXPECT_EQ(ssid + " " + password, "home secret word");
        const std::uint32_t delay = s.starts.at(starts++);
        if (delay == refused)
            return false;
        active_at = now + delay;
        return started = true;
    }
    const std::string& last_error() override { return reason; }
    void read_config(std::string& ssid, std::string& password) override {
        ++configs;
        ssid = "home";
        password = "secret word";
    }
    std::uint32_t tick_count() override { return first_tick + now; }
    void sleep(std::uint32_t ms) override {
        EXPECT_EQ(ms, 1000u);
        now += s.step;
    }
    void write(const std::string& line) override { said += line; }

    const scenario& s;
    const std::uint32_t first_tick;
    const std::string reason = "the reason.";
    std::string said;
    std::uint32_t now = 0, active_at = 0;
    bool started = false;
    std::size_t starts = 0;
    int queries = 0, configs = 0;
};

TEST(virtual_wifi_supervisor, every_way_through) {
    const scenario rows[] = {
        {"at once", true, true, {{0, 1}}, {0}, "s", 1, 0, 3},
        {"stack up at the last poll", true, true, {{0, 0}, {59000, 1}}, {0}, "s", 1, 59000, 62},
        {"stack up behind it", true, true, {{0, 0}, {59001, 1}}, {0}, "ns", 1, 60000, 62},
        {"stack never up", true, true, {{0, 0}}, {refused}, "nr", 0, 60000, 61},
        {"no API", true, false, {{0, 0}}, {refused}, "nr", 0, 60000, 60},
        {"polls late", true, true, {{0, 0}}, {refused}, "nr", 0, 61600, 12, 5600},
        {"active, without a sleep", false, true, {{0, 2}}, {}, "f", 1, 0, 2},
        {"active until the last poll", true, true, {{0, 2}, {60000, 1}}, {0}, "fis", 1, 60000, 63},
        {"active behind it", true, true, {{0, 2}, {60001, 1}}, {}, "fl", 1, 60000, 62},
        {"active, then gone", true, true, {{0, 2}, {900, 0}}, {0}, "fis", 1, 1000, 4},
        {"all waits", true, true, {{60000, 2}, {119500, 1}}, {9500}, "nfiswu", 1, 130000, 132},
        {"refused", true, true, {{0, 1}}, {refused}, "r", 0, 0, 2},
        {"active in a second", true, true, {{0, 1}}, {500}, "swu", 1, 1000, 4},
        {"active at the last poll", false, true, {{0, 1}}, {10000}, "swu", 1, 10000, 13},
        {"active behind it", true, true, {{0, 1}}, {10001, 0}, "swa", 1, 10000, 14},
        {"polls late for the start", true, true, {{0, 1}}, {never, 0}, "swa", 1, 10500, 11, 1500},
        {"second start without effect", true, true, {{0, 1}}, {never, 1}, "swad", 0, 10000, 14},
        {"second start refused", true, true, {{0, 1}}, {never, refused}, "swR", 0, 10000, 13},
    };
    for (const scenario& r : rows) {
        // Also across the wrap of the tick count.
        for (const std::uint32_t first_tick : {0u, 0xFFFFFE00u, 0xFFFF8000u}) {
            SCOPED_TRACE(testing::Message() << r.name << " from tick " << first_tick);
            std::string said =
                r.wake_up ? "Starting Virtual Wi-Fi (wake-up call).\n" : "Starting Virtual Wi-Fi.\n";
            for (const char* line = r.said; *line; ++line)
                said += lines.at(*line);
            simulated_network network(r, first_tick);
            EXPECT_EQ(cl::virtual_wifi_supervisor(r.wake_up, network), r.result);
            EXPECT_EQ(network.said, said);
            EXPECT_EQ(network.now, r.took);
            EXPECT_EQ(network.queries, r.queries);
            EXPECT_EQ(network.starts, r.starts.size());
            EXPECT_EQ(network.configs, r.starts.empty() ? 0 : 1);
        }
    }
}

} // namespace
