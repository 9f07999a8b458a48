// The usual way to hold an exported function of a library that is loaded at run time, often as a local
// static.
#pragma once

#include "cl/sys/library_table.hpp"

#include <string>

namespace cl {

// Binds on construction, through the process's library table or another that outlives it, and releases on
// destruction. `address` is null when the library or the function is missing. Read-only between the two, for
// any thread. Callers that know the function's type use bound_function.
class dynamic_entry {
public:
    dynamic_entry(std::wstring library_name, std::string function_name, library_table& table = libraries);
    ~dynamic_entry();
    dynamic_entry(const dynamic_entry&) = delete;
    dynamic_entry& operator=(const dynamic_entry&) = delete;

    // The address as a function of type F, a pointer to function.
    template <class F>
    F as() const {
        return reinterpret_cast<F>(address);
    }

    std::wstring library;
    std::string function;
    entry_point address;

private:
    library_table& table_;
};

} // namespace cl
