#include "ctl/output.hpp"

#include <algorithm>

namespace vfl::ctl {

namespace {

constexpr wchar_t replacement = 0xFFFD;

bool is_high(wchar_t c) {
    return c >= 0xD800 && c <= 0xDBFF;
}

bool is_low(wchar_t c) {
    return c >= 0xDC00 && c <= 0xDFFF;
}

// The C0 and C1 controls, DEL, and the characters that steer bidirectional text or end a line.
bool is_control(wchar_t c) {
    return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x061C || c == 0x200E || c == 0x200F || c == 0x2028 ||
           c == 0x2029 || (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069) || c == 0xFEFF;
}

} // namespace

std::wstring well_formed(std::wstring_view text) {
    std::wstring out(text);
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (is_high(out[i]) && i + 1 < out.size() && is_low(out[i + 1]))
            ++i;
        else if (is_high(out[i]) || is_low(out[i]))
            out[i] = replacement;
    }
    return out;
}

std::wstring shown(std::wstring_view foreign) {
    if (std::ranges::all_of(foreign, [](wchar_t c) { return c >= 0x20 && c < 0x7F; }))
        return std::wstring(foreign);
    std::wstring out = well_formed(foreign);
    for (wchar_t& c : out)
        if (is_control(c))
            c = replacement;
    return out;
}

} // namespace vfl::ctl
