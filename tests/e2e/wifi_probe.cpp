// The hosted network as the product uses it, driven from outside:
//   wifi_probe state              the state
//   wifi_probe start SSID KEY     starts the network and reports the outcome
//   wifi_probe stop               stops it
//   wifi_probe supervise 0|1      a run of the supervisor on this thread; the argument is wake_up
//   wifi_probe power EVENT N      hands the service's control handler that power event N times in a row, and
//                                 ends with standard input
// It has the process-wide objects of the product: what that says comes on standard output, before one line
// "= RESULT LAST_ERROR".
#include "cl/wifi/virtual_wifi_supervisor.hpp"
#include "cl/wifi/wireless_hosted_network.hpp"
#include "host/service.hpp"

#include <cstdint>
#include <cstdio>
#include <string>

namespace {

constexpr std::uint32_t power_event_control = 13;

int report(int result, const std::string& last_error = {}) {
    std::printf("= %d %s\n", result, last_error.c_str());
    return 0;
}

} // namespace

int main(int count, char** words) {
    const std::string order = count > 1 ? words[1] : "";
    if (order == "state") {
        cl::wireless_hosted_network network;
        return report(network.query_state(), network.last_error());
    }
    if (order == "start" && count == 4) {
        cl::wireless_hosted_network network;
        const bool ok = network.start(words[2], words[3]);
        return report(ok, network.last_error());
    }
    if (order == "stop") {
        cl::wireless_hosted_network network;
        const bool ok = network.stop();
        return report(ok, network.last_error());
    }
    if (order == "supervise" && count == 3)
        return report(cl::virtual_wifi_supervisor(words[2][0] == '1'));
    if (order == "power" && count == 4) {
        for (int n = std::stoi(words[3]); n > 0; --n)
            vfl::service_control_handler(power_event_control,
                                         static_cast<std::uint32_t>(std::stoul(words[2])), nullptr, nullptr);
        std::puts("= handled");
        std::fflush(stdout);
        while (std::getchar() != EOF) {
        }
        return 0;
    }
    std::fputs("unknown order\n", stderr);
    return 2;
}
