// The supervisor on a simulated clock: every way through it, at the last poll of each wait and one after.
#include "cl/wifi/virtual_wifi_supervisor.hpp"

#include <gtest/gtest.h>
#include <vector>

namespace {

constexpr std::uint32_t never = 0xFFFFFFFF;

// The network's state from a time on, in milliseconds since the run began.
struct phase {
    std::uint32_t from;
    std::int32_t state;
};

struct scenario {
    const char* name;
    bool wake_up, loaded;
    std::vector<phase> before; // until the first start that works; starts with time 0
    std::vector<std::uint32_t>
        starts;       // for each start the time until the network is active; 0xFFFFFFFE: refused
    const char* said; // behind the first line
    std::int32_t result;
    std::uint32_t took;
    int queries;
    std::uint32_t step = 1000; // what a sleep of a second takes
};

constexpr std::uint32_t refused = 0xFFFFFFFE;

class simulated_network final : public cl::supervised_network {
public:
    simulated_network(const scenario& s, std::uint32_t first_tick) : s_(s), first_tick_(first_tick) {}

    bool loaded() override { return s_.loaded; }
    std::int32_t query_state() override {
        ++queries;
        if (active_at_ != never)
            return now >= active_at_ ? 2 : 1;
        std::int32_t state = 0;
        for (const phase& p : s_.before)
            if (now >= p.from)
                state = p.state;
        return state;
    }
    bool start(const std::string& ssid, const std::string& password) override {
        EXPECT_EQ(ssid, "home");
        EXPECT_EQ(password, "secret word");
        EXPECT_LT(starts, s_.starts.size()) << "one start too many";
        const std::uint32_t delay = s_.starts.at(starts++);
        if (delay == refused)
            return false;
        active_at_ = delay == never ? never - 1 : now + delay;
        return true;
    }
    const std::string& last_error() override { return reason_; }
    void read_config(std::string& ssid, std::string& password) override {
        ++configs;
        ssid = "home";
        password = "secret word";
    }
    std::uint32_t tick_count() override { return first_tick_ + now; }
    void sleep(std::uint32_t ms) override {
        EXPECT_EQ(ms, 1000u);
        now += s_.step;
    }
    void write(const std::string& line) override { said += line; }

    std::string said;
    std::uint32_t now = 0;
    std::size_t starts = 0;
    int queries = 0, configs = 0;

private:
    const scenario& s_;
    const std::uint32_t first_tick_;
    std::uint32_t active_at_ = never;
    const std::string reason_ = "the reason.";
};

TEST(virtual_wifi_supervisor, every_way_through) {
    const std::string not_there = "Virtual Wi-Fi not available.\n", found = "Virtual Wi-Fi already active.\n",
                      inactive = "Virtual Wi-Fi has been detected as inactive.\n",
                      started = "Virtual Wi-Fi started.\n", wait = "Virtual Wi-Fi not active. Waiting...\n",
                      again = "Virtual Wi-Fi started again.\n",
                      left = "Virtual Wi-Fi: stopped waiting to become inactive.\n",
                      failed = "Starting Virtual Wi-Fi failed: the reason.\n";
    const std::string there_late = not_there + started, missing = not_there + failed,
                      cleared = found + inactive + started, stale = found + left,
                      stale_late = not_there + found + inactive + started, slow = started + wait,
                      slow_up = slow + "Virtual Wi-Fi active.\n", second = slow + again,
                      second_down = second + "Virtual Wi-Fi still not active.\n",
                      second_failed = slow + "Starting Virtual Wi-Fi again failed: the reason.\n";
    const scenario rows[] = {
        {"at once", true, true, {{0, 1}}, {0}, started.c_str(), 1, 0, 3},
        {"at once, without a sleep", false, true, {{0, 1}}, {0}, started.c_str(), 1, 0, 3},
        {"stack up at the last poll", true, true, {{0, 0}, {59000, 1}}, {0}, started.c_str(), 1, 59000, 62},
        {"stack up behind it", true, true, {{0, 0}, {59001, 1}}, {0}, there_late.c_str(), 1, 60000, 62},
        {"stack never up", true, true, {{0, 0}}, {refused}, missing.c_str(), 0, 60000, 61},
        {"no API", true, false, {{0, 0}}, {refused}, missing.c_str(), 0, 60000, 60},
        {"polls late", true, true, {{0, 0}}, {refused}, missing.c_str(), 0, 61600, 12, 5600},
        {"active, without a sleep", false, true, {{0, 2}}, {}, found.c_str(), 1, 0, 2},
        {"active until the last poll", true, true, {{0, 2}, {60000, 1}}, {0}, cleared.c_str(), 1, 60000, 63},
        {"active behind it", true, true, {{0, 2}, {60001, 1}}, {}, stale.c_str(), 1, 60000, 62},
        {"active, then gone", true, true, {{0, 2}, {900, 0}}, {0}, cleared.c_str(), 1, 1000, 4},
        {"both waits",
         true,
         true,
         {{0, 0}, {60000, 2}, {119500, 1}},
         {0},
         stale_late.c_str(),
         1,
         120000,
         122},
        {"refused", true, true, {{0, 1}}, {refused}, failed.c_str(), 0, 0, 2},
        {"active in a second", true, true, {{0, 1}}, {500}, slow_up.c_str(), 1, 1000, 4},
        {"active at the last poll", false, true, {{0, 1}}, {10000}, slow_up.c_str(), 1, 10000, 13},
        {"active behind it", true, true, {{0, 1}}, {10001, 0}, second.c_str(), 1, 10000, 14},
        {"polls late for the start", true, true, {{0, 1}}, {never, 0}, second.c_str(), 1, 10500, 11, 1500},
        {"second start without effect", true, true, {{0, 1}}, {never, 1}, second_down.c_str(), 0, 10000, 14},
        {"second start refused", true, true, {{0, 1}}, {never, refused}, second_failed.c_str(), 0, 10000, 13},
    };
    for (const scenario& r : rows) {
        // Also across the wrap of the tick count.
        for (const std::uint32_t first_tick : {0u, 0xFFFFFE00u, 0xFFFF8000u}) {
            SCOPED_TRACE(testing::Message() << r.name << " from tick " << first_tick);
            simulated_network network(r, first_tick);
            EXPECT_EQ(cl::virtual_wifi_supervisor(r.wake_up, network), r.result);
            EXPECT_EQ(network.said,
                      (r.wake_up ? "Starting Virtual Wi-Fi (wake-up call).\n" : "Starting Virtual Wi-Fi.\n") +
                          std::string(r.said));
            EXPECT_EQ(network.now, r.took);
            EXPECT_EQ(network.queries, r.queries);
            EXPECT_EQ(network.starts, r.starts.size());
            EXPECT_EQ(network.configs, r.starts.empty() ? 0 : 1);
        }
    }
}

} // namespace
