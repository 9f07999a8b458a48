// Brings the hosted network back after the machine has slept. That can take minutes: a run waits for the
// WLAN stack, waits until an active state from before the sleep has cleared, starts the network and checks
// that it came up, with one second attempt.
#pragma once

#include <cstdint>
#include <string>

namespace cl {

// What a run sees of the world: its own session of the hosted network, the user's settings, a clock, and
// what receives its lines.
class supervised_network {
public:
    // As in wireless_hosted_network.
    virtual bool loaded() = 0;
    virtual std::int32_t query_state() = 0;
    virtual bool start(const std::string& ssid, const std::string& password) = 0;
    virtual const std::string& last_error() = 0;

    // As cl::read_wifi_config.
    virtual void read_config(std::string& ssid, std::string& password) = 0;

    // Milliseconds, modulo 2^32.
    virtual std::uint32_t tick_count() = 0;
    virtual void sleep(std::uint32_t ms) = 0;

    // A line with its line feed.
    virtual void write(const std::string& line) = 0;

protected:
    ~supervised_network() = default;
};

// One run on the caller's thread. `wake_up`: the network may still count as active from before the sleep and
// is started anew; without it an active network is left alone. 1 when the network ended up active or was left
// active, 0 otherwise.
std::int32_t virtual_wifi_supervisor(bool wake_up, supervised_network& network);

// The same on the real network and the real clock, writing to trace_out.
std::int32_t virtual_wifi_supervisor(bool wake_up);

// What the service does on a resume: if the user has asked for it, a thread of its own runs
// virtual_wifi_supervisor(true). Nobody waits for that thread, not even the end of the process, and two
// resumes may have two of them running. Returns at once; any thread may call.
void start_virtual_wifi_supervisor();

} // namespace cl
