#pragma once

#include "cl/trace/trace_list.hpp"

namespace cl {

// Text on the console, whether or not standard output is redirected. A program that is no console application
// shows a message box instead, which holds the writing thread until it is closed.
class console_trace final : public trace_base {
public:
    void write(const wchar_t* text, bool flush) override;
    void write(const char* text, bool flush) override;
    void flush(bool) override {}
};

} // namespace cl
