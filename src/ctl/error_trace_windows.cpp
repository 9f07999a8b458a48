#include "ctl/error_trace.hpp"

#include "cl/text/text_convert.hpp"
#include "ctl/output.hpp"

namespace vfl::ctl {

void error_trace::write(const wchar_t* text, bool) {
    try {
        standard_output().put(stream::err, text, colour::normal);
    } catch (const reader_gone&) {
        // Nothing in the trace fails; the command itself finds out when it writes.
    }
}

void error_trace::write(const char* text, bool flush) {
    write(cl::narrow_to_wide(text, 0).c_str(), flush);
}

} // namespace vfl::ctl
