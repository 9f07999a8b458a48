// A function of the service library that is needed for the length of a call.
#pragma once

#include "cl/format/text.hpp"
#include "cl/sys/library_table.hpp"
#include "host/host_state.hpp"

namespace vfl {

// Binds the function from dll_path, and lets go of the library at the end. False when it can't be had;
// `error` then holds the system's number.
template <class F>
class library_function {
public:
    explicit library_function(const char* name)
        : library_(dll_path),
          function_(reinterpret_cast<F*>(cl::bind_entry_point(cl::libraries, library_, name, true, &error))) {
    }
    ~library_function() {
        if (function_)
            cl::release_library(cl::libraries, library_);
    }
    library_function(const library_function&) = delete;
    library_function& operator=(const library_function&) = delete;

    explicit operator bool() const { return function_ != nullptr; }

    template <class... Args>
    auto call(Args... args) const {
        return function_(args...);
    }

    std::uint32_t error = 0;

private:
    const std::wstring library_;
    F* const function_;
};

// Why a function of the library can't be had, by the system's error number.
const char* load_failure_text(std::uint32_t error);

// Writes `format` with dll_path to trace_out, and the reason to the log.
void say_not_loaded(cl::checked_format<wchar_t, 1> format, std::uint32_t error);

} // namespace vfl
