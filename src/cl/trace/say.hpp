// Formats a message and hands it to a trace list:
//
//     cl::say(cl::trace_err, "file '%?' open error %u\n", path, error);
#pragma once

#include "cl/format/text.hpp"
#include "cl/trace/trace_list.hpp"

namespace cl {

// A text that is made already goes to trace_write itself.
template <class... Args>
void say(trace_list& list, checked_format<char, sizeof...(Args)> format, const Args&... args) {
    trace_write(&list, text(format, args...).c_str());
}

template <class... Args>
void say(trace_list& list, checked_format<wchar_t, sizeof...(Args)> format, const Args&... args) {
    trace_write(&list, text(format, args...).c_str());
}

} // namespace cl
