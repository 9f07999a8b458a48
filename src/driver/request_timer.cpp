#include "driver/request_timer.hpp"

#include "cl/format/format.hpp"
#include "cl/trace/trace_list.hpp"

namespace vfl {

void request_timer::tell_elapsed(std::uint64_t ticks) {
    const std::uint64_t ns = cl::elapsed_ns(ticks, cl::hrtime.frequency);
    cl::trace_out((cl::basic_format<char>("time: %#,.9? sec\n") << ns).str());
}

} // namespace vfl
