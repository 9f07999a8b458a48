// The hosted network as the product uses it, driven from outside:
//   wifi_probe state              the state
//   wifi_probe start SSID KEY     starts the network and reports the outcome
//   wifi_probe stop               stops it
//   wifi_probe supervise 0|1      a run of the supervisor on this thread; the argument is wake_up
//   wifi_probe resume N           what the service does on N resumes in a row; ends with standard input
// What the product says comes on standard output, ahead of one line "= RESULT LAST_ERROR".
#include "cl/sys/library_table.hpp"
#include "cl/sys/os_info.hpp"
#include "cl/trace/list/trace_list.hpp"
#include "cl/wifi/virtual_wifi_supervisor.hpp"
#include "cl/wifi/wireless_hosted_network.hpp"

#include <cstdio>
#include <string>

namespace cl {
constinit bool console_application = true;
}

namespace {

struct stdout_sink final : cl::trace_base {
    using trace_base::write;
    void write(const char* text, bool) override {
        std::fputs(text, stdout);
        std::fflush(stdout);
    }
    void flush(bool) override {}
};

int report(int result, const std::string& last_error = {}) {
    std::printf("= %d %s\n", result, last_error.c_str());
    return 0;
}

} // namespace

int main(int count, char** words) {
    cl::fill_os_info(cl::read_os_facts());
    cl::create_libraries(cl::windows_modules);
    stdout_sink sink;
    cl::trace_add(&cl::trace_out, &sink);

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
    if (order == "resume" && count == 3) {
        for (int n = std::stoi(words[2]); n > 0; --n)
            cl::start_virtual_wifi_supervisor();
        std::puts("= resumed");
        std::fflush(stdout);
        while (std::getchar() != EOF) {
        }
        return 0;
    }
    std::fputs("unknown order\n", stderr);
    return 2;
}
