#include "cl/trace/stream_trace.hpp"

#include "cl/trace/console.hpp"

namespace cl {

void stdout_trace::write(const wchar_t* text, bool) {
    if (console_application)
        write_stdout(std::wstring(text));
}

void stdout_trace::write(const char* text, bool) {
    if (console_application)
        write_stdout(std::string(text));
}

void stderr_trace::write(const wchar_t* text, bool) {
    if (console_application)
        write_stderr(std::wstring(text));
}

void stderr_trace::write(const char* text, bool) {
    if (console_application)
        write_stderr(std::string(text));
}

} // namespace cl
