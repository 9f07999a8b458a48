// A function of a library that is loaded at run time, called like any other function.
#pragma once

#include "cl/sys/dynamic_entry.hpp"

#include <optional>
#include <string>
#include <utility>

namespace cl {

template <class F>
class bound_function;

// The parameter is the function's type. Holds a reference on the library from the binding to the release,
// another binding or its own end. Binding and releasing are for one thread; a bound one may be called by any.
template <class Result, class... Parameters>
class bound_function<Result(Parameters...)> {
public:
    bound_function() = default;
    bound_function(std::wstring library, std::string function, library_table& table = libraries) {
        bind(std::move(library), std::move(function), table);
    }

    // Releases first. True if the function was found.
    bool bind(std::wstring library, std::string function, library_table& table = libraries) {
        entry_.emplace(std::move(library), std::move(function), table);
        return entry_->address != nullptr;
    }
    void release() { entry_.reset(); }

    explicit operator bool() const { return entry_ && entry_->address; }

    // Only while it is bound.
    Result operator()(Parameters... arguments) const {
        return entry_->template as<Result (*)(Parameters...)>()(arguments...);
    }

private:
    std::optional<dynamic_entry> entry_;
};

} // namespace cl
