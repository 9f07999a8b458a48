#include "cl/log/debug_trace.hpp"

#include "cl/os/debugger.hpp"

namespace cl {

debug_trace::~debug_trace() {
    flush_at_end();
}

void debug_trace::emit(const char* text) {
    os::debug_text(text);
}

} // namespace cl
