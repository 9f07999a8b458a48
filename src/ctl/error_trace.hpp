// The class library's trace, as vflctl shows it: everything on standard error.
#pragma once

#include "cl/trace/trace_list.hpp"

namespace vfl::ctl {

class error_trace final : public cl::trace_base {
public:
    void write(const wchar_t* text, bool flush) override;
    void write(const char* text, bool flush) override; // ANSI
    void flush(bool) override {}
};

} // namespace vfl::ctl
