#include "ctl/service_command.hpp"

#include "cl/os/clock.hpp"
#include "ctl/commands.hpp"
#include "ctl/local_time.hpp"
#include "ctl/log_source.hpp"
#include "product/locations.hpp"
#include "product/names.hpp"

namespace vfl::ctl {

int run_service(const arguments& args, output& out) {
    live_service service;
    const std::wstring folder = data_folder(product_word);
    const auto library = [&] {
        product_log files = product_log_in(folder);
        const log_reading reading = read_product_log(files);
        return find_library_state(read_log(reading.parts, reading.process_start), reading.process_start);
    };
    return run_service_in(
        {service, library, cl::os::tick_count, cl::os::sleep_ms, to_local, utc_offset_minutes}, args, out);
}

} // namespace vfl::ctl
