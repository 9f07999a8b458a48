#include "fakes/fake_message_box.hpp"

#include "cl/os/message_box.hpp"

#include <string_view>

namespace fakes {

std::vector<message_box>& message_box::shown() {
    static std::vector<message_box> boxes;
    return boxes;
}

namespace {

std::string narrowed(std::wstring_view text) {
    std::string s;
    for (const wchar_t c : text)
        s += static_cast<char>(c);
    return s;
}

} // namespace

} // namespace fakes

namespace cl::os {

void message_box(const char* text, const char* caption, std::uint32_t style) {
    fakes::message_box::shown().push_back({text, caption, style, false});
}

void message_box(const wchar_t* text, const wchar_t* caption, std::uint32_t style) {
    fakes::message_box::shown().push_back({fakes::narrowed(text), fakes::narrowed(caption), style, true});
}

} // namespace cl::os
