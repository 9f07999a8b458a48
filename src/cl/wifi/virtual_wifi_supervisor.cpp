#include "cl/wifi/virtual_wifi_supervisor.hpp"

#include "cl/format/text.hpp"
#include "cl/wifi/passphrase.hpp"
#include "cl/wifi/wlan_api.h"

namespace cl {

namespace {

constexpr std::uint32_t poll_ms = 1000;
constexpr std::uint32_t stack_limit_ms = 60000;    // for the WLAN stack to come up
constexpr std::uint32_t inactive_limit_ms = 60000; // for an active state from before the sleep
constexpr std::uint32_t active_limit_ms = 10000;   // for a start to take effect

constexpr std::int32_t active = VFL_WLAN_ACTIVE;

enum class state { wait_available, check_active, wait_inactive, configure, wait_active, restart, up, down };

class supervisor {
public:
    supervisor(bool wake_up, supervised_network& network) : wake_up_(wake_up), network_(network) {}

    std::int32_t run() {
        network_.write(text("Starting Virtual Wi-Fi%?.\n", wake_up_ ? " (wake-up call)" : ""));
        begin_wait();
        for (state now = state::wait_available;;) {
            switch (now) {
            case state::wait_available:
                now = wait_available();
                break;
            case state::check_active:
                now = check_active();
                break;
            case state::wait_inactive:
                now = wait_inactive();
                break;
            case state::configure:
                now = configure();
                break;
            case state::wait_active:
                now = wait_active();
                break;
            case state::restart:
                now = restart();
                break;
            case state::up:
                return 1;
            case state::down:
                return 0;
            }
        }
    }

private:
    void begin_wait() { wait_begun_ = network_.tick_count(); }
    bool waited(std::uint32_t ms) const { return network_.tick_count() - wait_begun_ >= ms; }

    state wait_available() {
        if (network_.query_state() != VFL_WLAN_UNAVAILABLE)
            return state::check_active;
        network_.sleep(poll_ms);
        if (!waited(stack_limit_ms))
            return state::wait_available;
        // The start is tried all the same, and reports what is wrong.
        network_.write("Virtual Wi-Fi not available.\n");
        return state::check_active;
    }

    state check_active() {
        if (!network_.loaded() || network_.query_state() != active)
            return state::configure;
        network_.write("Virtual Wi-Fi already active.\n");
        if (!wake_up_)
            return state::up;
        begin_wait();
        return state::wait_inactive;
    }

    state wait_inactive() {
        network_.sleep(poll_ms);
        if (network_.query_state() != active) {
            network_.write("Virtual Wi-Fi has been detected as inactive.\n");
            return state::configure;
        }
        if (!waited(inactive_limit_ms))
            return state::wait_inactive;
        network_.write("Virtual Wi-Fi: stopped waiting to become inactive.\n");
        return state::up;
    }

    state configure() {
        network_.read_config(ssid_, password_.text);
        if (!network_.start(ssid_, password_.text)) {
            network_.write(text("Starting Virtual Wi-Fi failed: %?\n", network_.last_error()));
            return state::down;
        }
        network_.write("Virtual Wi-Fi started.\n");
        if (network_.query_state() == active)
            return state::up;
        network_.write("Virtual Wi-Fi not active. Waiting...\n");
        begin_wait();
        return state::wait_active;
    }

    state wait_active() {
        network_.sleep(poll_ms);
        if (network_.query_state() == active) {
            network_.write("Virtual Wi-Fi active.\n");
            return state::up;
        }
        return waited(active_limit_ms) ? state::restart : state::wait_active;
    }

    state restart() {
        if (!network_.start(ssid_, password_.text)) {
            network_.write(text("Starting Virtual Wi-Fi again failed: %?\n", network_.last_error()));
            return state::down;
        }
        network_.write("Virtual Wi-Fi started again.\n");
        if (network_.query_state() == active)
            return state::up;
        network_.write("Virtual Wi-Fi still not active.\n");
        return state::down;
    }

    const bool wake_up_;
    supervised_network& network_;
    std::uint32_t wait_begun_ = 0;
    std::string ssid_;
    passphrase password_;
};

} // namespace

std::int32_t virtual_wifi_supervisor(bool wake_up, supervised_network& network) {
    return supervisor(wake_up, network).run();
}

} // namespace cl
