// A function of the service library that is needed for a moment.
#pragma once

#include "cl/sys/library_table.hpp"
#include "host/host_state.hpp"

namespace vfl {

// Binds the function from dll_path, and lets go of the library at the end. False when it can't be had.
template <class F>
class library_function {
public:
    explicit library_function(const char* name)
        : library_(dll_path),
          function_(reinterpret_cast<F*>(cl::bind_entry_point(cl::libraries, library_, name, true))) {}
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

private:
    const std::wstring library_;
    F* const function_;
};

} // namespace vfl
