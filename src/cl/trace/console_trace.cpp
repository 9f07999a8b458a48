#include "cl/trace/console_trace.hpp"

#include "cl/os/message_box.hpp"
#include "cl/trace/console.hpp"
#include "cl/trace/stream_trace.hpp"

namespace cl {

void console_trace::write(const wchar_t* text, bool) {
    if (console_application)
        console_write(text);
    else
        os::message_box(text, L"Debug message", os::box_exclamation);
}

void console_trace::write(const char* text, bool) {
    if (console_application)
        console_write_narrow(text);
    else
        os::message_box(text, "Debug message", os::box_exclamation);
}

} // namespace cl
