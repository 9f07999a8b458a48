// The sinks of the standard streams. In a program that is no console application they do nothing.
#pragma once

#include "cl/trace/trace_list.hpp"

namespace cl {

// Whether the executable was built as a console application. Each executable defines it; only tests change
// it.
extern bool console_application;

class stdout_trace final : public trace_base {
public:
    void write(const wchar_t* text, bool flush) override;
    void write(const char* text, bool flush) override;
    void flush(bool) override {}
};

class stderr_trace final : public trace_base {
public:
    void write(const wchar_t* text, bool flush) override;
    void write(const char* text, bool flush) override;
    void flush(bool) override {}
};

} // namespace cl
