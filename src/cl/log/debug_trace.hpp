#pragma once

#include "cl/log/lined_trace.hpp"

namespace cl {

// Whole lines for an attached debugger. A partial line that is left goes out at the end.
class debug_trace : public lined_trace {
public:
    using lined_trace::lined_trace;
    ~debug_trace() override;

protected:
    void emit(const char* text) override;
};

} // namespace cl
