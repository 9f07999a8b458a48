#include "host/configuration.hpp"

#include "cl/ini/cached_ini.hpp"
#include "cl/log/trace_set_up.hpp"
#include "cl/text/string_util.hpp"
#include "cl/trace/trace_list.hpp"
#include "host/host_state.hpp"
#include "product/names.hpp"

namespace vfl {

namespace {

constexpr std::uint32_t check_interval_ms = 2000;
// Deliberately below the default limit by 128 KiB, and not derived from the setting: a log that has come this
// near is rotated at the start and not in the middle of the run.
constexpr std::uint32_t rotate_at_start = 0x9F0000;

// Half the bytes that a program without a log file gathers before a writer flushes by itself.
constexpr std::int32_t ring_min = 0x40000, ring_max = 0x1000000, flush_at = 0x10000;

bool is_trace_on() {
    std::wstring text;
    return !cl::global_ini.get_value(host_section, trace_key, text) || cl::parse_int(text, false) != 0;
}

std::uint64_t max_trace_size() {
    std::wstring text;
    if (!cl::global_ini.get_value(host_section, max_trace_size_key, text))
        return default_max_trace_size;
    // A negative size is sign-extended, and so no limit at all.
    return static_cast<std::uint64_t>(std::int64_t{cl::parse_int(text, false)});
}

} // namespace

void configure_host() {
    cl::global_ini.set_file(data_dir + settings_file_name, true);
    {
        const cl::mutex_auto scope(cl::global_ini.lock, true);
        cl::global_ini.check_interval = check_interval_ms;
    }
    configure_trace();
}

void configure_trace() {
    if (!is_trace_on()) {
        cl::trace_remove(&cl::trace_out, &cl::trace_file);
        cl::trace_remove(&cl::trace_err, &cl::trace_file);
        cl::trace_remove(&cl::trace_log, &cl::trace_file);
        cl::trace_file.discard(true);
        return;
    }
    cl::trace_file.set_path(data_dir + log_file_name);
    cl::trace_file.set_old_path(data_dir + old_log_file_name, max_trace_size());
    cl::trace_file.set_buffer(ring_min, ring_max, flush_at, true);
    cl::trace_file.set_write_through(false);
    cl::trace_file.set_stamps(true, true);
    cl::trace_file.rotate_if_larger(rotate_at_start);
}

} // namespace vfl
