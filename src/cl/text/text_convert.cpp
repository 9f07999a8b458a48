#include "cl/text/text_convert.hpp"

#include "cl/os/text.hpp"
#include "cl/text/ascii_run.hpp"
#include "cl/text/encodings.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace cl {

namespace {

// Both directions of the fixed-buffer forms. `convert` is the seam's conversion between Src and Dst.
template <class Dst, class Src>
Dst* convert_to_buf(Dst* dst, const Src* src, std::int64_t size,
                    std::size_t (*convert)(std::uint32_t, const Src*, std::size_t, Dst*, std::size_t)) {
    if (!dst || size <= 0)
        return dst;
    dst[0] = 0;
    if (!src)
        return dst;
    const auto cap = static_cast<std::size_t>(size);
    const std::size_t n = std::char_traits<Src>::length(src) + 1;
    const std::size_t needed = convert(0, src, n, nullptr, 0);
    if (needed > cap) {
        // The conversion writes nothing useful into a buffer that is too small, so a large one comes between.
        std::basic_string<Dst> whole(needed, Dst(0));
        convert(0, src, n, whole.data(), needed);
        std::copy_n(whole.data(), cap, dst);
    } else if (needed > 0) {
        convert(0, src, n, dst, needed);
    }
    dst[cap - 1] = 0;
    return dst;
}

// The units that are converted at a time, and the bytes that they can take: one that ends a pair takes four.
constexpr std::ptrdiff_t block_units = 256;
constexpr std::ptrdiff_t block_bytes = 3 * block_units + 1;

} // namespace

std::wstring narrow_to_wide(std::string_view s, std::uint32_t cp) {
    std::wstring wide(os::to_utf16(cp, s.data(), s.size(), nullptr, 0), L'\0');
    if (!wide.empty())
        wide.resize(os::to_utf16(cp, s.data(), s.size(), wide.data(), wide.size()));
    return wide;
}

std::string wide_to_narrow(std::wstring_view s, std::uint32_t cp) {
    std::string narrow(os::from_utf16(cp, s.data(), s.size(), nullptr, 0), '\0');
    if (!narrow.empty())
        narrow.resize(os::from_utf16(cp, s.data(), s.size(), narrow.data(), narrow.size()));
    return narrow;
}

std::string wide_to_narrow(const wchar_t* z, std::uint32_t cp) {
    return z ? wide_to_narrow(std::wstring_view(z), cp) : std::string();
}

std::string wide_to_narrow(const wchar_t* p, std::size_t n, std::uint32_t cp) {
    return p ? wide_to_narrow(std::wstring_view(p, n), cp) : std::string();
}

wchar_t* ansi_to_wide_buf(wchar_t* dst, const char* src, std::int64_t dst_chars) {
    return convert_to_buf(dst, src, dst_chars, &os::to_utf16);
}

char* wide_to_ansi_buf(char* dst, const wchar_t* src, std::int64_t dst_bytes) {
    return convert_to_buf(dst, src, dst_bytes, &os::from_utf16);
}

std::string utf16_to_utf8(std::wstring_view s) {
    std::string out;
    out.reserve(s.size());
    std::uint8_t block[block_bytes];
    std::uint32_t high = 0;
    const wchar_t* p = s.data();
    for (std::ptrdiff_t left = std::ssize(s); left > 0; left -= block_units) {
        const wchar_t* const end = p + std::min(left, block_units);
        std::uint8_t* to = block;
        while (p < end) {
            const std::ptrdiff_t run = narrow_ascii_run(p, end - p, to);
            p += run;
            to += run;
            // No run begins among other characters.
            for (bool ascii = false; p < end && !ascii; ++p) {
                const std::uint32_t unit = static_cast<std::uint16_t>(*p);
                if (is_high_surrogate(unit))
                    high = unit;
                else if (is_low_surrogate(unit) && high)
                    to += put_utf8(to, from_surrogates(std::exchange(high, 0u), unit));
                else
                    to += put_utf8(to, unit);
                ascii = unit < 0x80;
            }
        }
        out.append(reinterpret_cast<const char*>(block), static_cast<std::size_t>(to - block));
    }
    return out;
}

std::string utf16_to_utf8(const wchar_t* z) {
    return z ? utf16_to_utf8(std::wstring_view(z)) : std::string();
}

} // namespace cl
