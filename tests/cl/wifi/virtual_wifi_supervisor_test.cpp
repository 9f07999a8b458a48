// The supervisor on a simulated clock: every way through it, at the last poll of each wait and one after.
#include "cl/wifi/virtual_wifi_supervisor.hpp"
#include "rows.hpp"

#include <map>
#include <sstream>

namespace {

constexpr std::uint32_t refused = 0xFFFFFFFF, never = 0xF0000000;

struct scenario {
    bool loaded;
    std::map<std::uint32_t, std::int32_t> before;
    std::vector<std::uint32_t> starts;
    std::uint32_t step;
};

scenario scene_of(const row& r) {
    scenario s{r.number("loaded") != 0, {}, {}, static_cast<std::uint32_t>(r.number("step"))};
    std::istringstream before(r.text("before")), starts(r.text("starts"));
    std::uint32_t from = 0;
    char colon = 0;
    for (std::int32_t state = 0; before >> from >> colon >> state;)
        s.before[from] = state;
    for (std::string word; starts >> word;)
        s.starts.push_back(word == "refused" ? refused
                           : word == "never" ? never
                                             : static_cast<std::uint32_t>(std::stoul(word)));
    return s;
}

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
        const auto next = s.before.upper_bound(now);
        return next == s.before.begin() ? 0 : std::prev(next)->second;
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
    for_rows("wifi_supervisor.tsv", [](const row& r) {
        const scenario scene = scene_of(r);
        const bool wake_up = r.number("wake_up") != 0;
        std::string said = wake_up ? "Starting Virtual Wi-Fi (wake-up call).\n" : "Starting Virtual Wi-Fi.\n";
        for (const char letter : r.text("said"))
            said += lines.at(letter);
        // Also across the wrap of the tick count.
        for (const std::uint32_t first_tick : {0u, 0xFFFFFE00u, 0xFFFF8000u}) {
            SCOPED_TRACE(first_tick);
            simulated_network network(scene, first_tick);
            EXPECT_EQ(cl::virtual_wifi_supervisor(wake_up, network), r.number("result"));
            EXPECT_EQ(network.said, said);
            EXPECT_EQ(network.now, r.number("took"));
            EXPECT_EQ(network.queries, r.number("queries"));
            EXPECT_EQ(network.starts, scene.starts.size());
            EXPECT_EQ(network.configs, scene.starts.empty() ? 0 : 1);
        }
    });
}

} // namespace
