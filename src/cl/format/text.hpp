// A text made of a format and its values in one call:
//
//     std::string line = cl::text("error %?, ret=%?\n", code, ret);
#pragma once

#include "cl/format/format.hpp"

#include <cstddef>
#include <string>

namespace cl {

namespace detail {
// Not constexpr: named here so that the compiler's message says what is wrong.
void format_and_arguments_differ_in_number();
} // namespace detail

// A literal format that takes exactly `Count` arguments, each '*' being one of them; anything else doesn't
// compile. A function that hands a format on takes one of these.
template <class Ch, std::size_t Count>
class checked_format {
public:
    // NOLINTNEXTLINE(google-explicit-constructor): a literal is meant to become one
    consteval checked_format(const Ch* literal) : format_(literal) {
        if (detail::count_arguments(literal) != Count)
            detail::format_and_arguments_differ_in_number();
    }
    const Ch* get() const { return format_; }

private:
    const Ch* format_;
};

// The grammar is that of the format engine, and so is the text. Wide arguments of a narrow format are
// converted; a wide format takes no narrow text.
template <class... Args>
std::string text(checked_format<char, sizeof...(Args)> format, const Args&... args) {
    basic_format<char> f(format.get());
    static_cast<void>((f << ... << args));
    return f.str();
}

template <class... Args>
std::wstring text(checked_format<wchar_t, sizeof...(Args)> format, const Args&... args) {
    basic_format<wchar_t> f(format.get());
    static_cast<void>((f << ... << args));
    return f.str();
}

} // namespace cl
