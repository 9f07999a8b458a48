#include "driver/request_timer.hpp"

#include "cl/trace/say.hpp"

namespace vfl {

void request_timer::report_elapsed(std::uint64_t ticks) {
    cl::say(cl::trace_out, "time: %#,.9? sec\n", cl::elapsed_ns(ticks, cl::hrtime.frequency));
}

} // namespace vfl
