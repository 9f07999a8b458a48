// The supervisor on the real network, and the thread that runs it.
#include "cl/os/clock.hpp"
#include "cl/trace/say.hpp"
#include "cl/wifi/virtual_wifi_supervisor.hpp"
#include "cl/wifi/wifi_config.hpp"
#include "cl/wifi/wireless_hosted_network.hpp"

#include <cerrno>
#include <process.h>

namespace cl {

namespace {

class live_network final : public supervised_network {
public:
    bool loaded() override { return session_.loaded(); }
    std::int32_t query_state() override { return session_.query_state(); }
    bool start(const std::string& ssid, const std::string& password) override {
        return session_.start(ssid, password);
    }
    const std::string& last_error() override { return session_.last_error(); }
    void read_config(std::string& ssid, std::string& password) override { read_wifi_config(ssid, password); }
    std::uint32_t tick_count() override { return os::tick_count(); }
    void sleep(std::uint32_t ms) override { os::sleep_ms(ms); }
    void write(const std::string& line) override { trace_write(&trace_out, line.c_str()); }

private:
    wireless_hosted_network session_;
};

void supervise_wake_up(void*) {
    virtual_wifi_supervisor(true);
}

} // namespace

std::int32_t virtual_wifi_supervisor(bool wake_up) {
    live_network network;
    return virtual_wifi_supervisor(wake_up, network);
}

void start_virtual_wifi_supervisor() {
    if (!autostart_enabled())
        return;
    if (_beginthread(supervise_wake_up, 0, nullptr) == static_cast<std::uintptr_t>(-1L))
        say(trace_out, "Starting Virtual Wi-Fi failed: no thread, error %?.\n", errno);
}

} // namespace cl
