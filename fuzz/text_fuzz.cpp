// Text conversions and string helpers on any text. Input: a byte of buffer size, then the text, as bytes and
// as UTF-16 units of two bytes each.
#include "cl/text/string_util.hpp"
#include "cl/text/text_convert.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

void check(bool holds) {
    if (!holds)
        std::abort();
}

// Memory that ends where the text ends.
template <class Ch>
std::unique_ptr<Ch[]> exact(const std::basic_string<Ch>& s) {
    auto copy = std::make_unique<Ch[]>(s.size() + 1);
    std::copy_n(s.c_str(), s.size() + 1, copy.get());
    return copy;
}

// Both buffer forms: as much of the whole conversion as fits, and a zero in the last place.
template <class Dst, class Src, class Convert>
void check_buf(Convert convert, const std::basic_string<Src>& text, const std::basic_string<Dst>& whole,
               std::size_t size) {
    const auto src = exact(text);
    const auto dst = std::make_unique<Dst[]>(size);
    convert(dst.get(), src.get(), static_cast<std::int64_t>(size));
    if (size == 0)
        return;
    check(dst[size - 1] == 0);
    check(std::basic_string<Dst>(dst.get()) == whole.substr(0, size - 1).c_str());
}

// UTF-8 back to units; what the encoder may write is all that it takes.
std::wstring decode(const std::string& s) {
    std::wstring units;
    for (std::size_t i = 0; i < s.size();) {
        const auto lead = static_cast<unsigned char>(s[i]);
        const std::size_t n = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        check(lead < 0x80 || lead >= 0xC2);
        check(i + n <= s.size());
        std::uint32_t code = n == 1 ? lead : lead & (0x7Fu >> n);
        for (std::size_t k = 1; k < n; ++k) {
            check((s[i + k] & 0xC0) == 0x80);
            code = code * 64 + (s[i + k] & 0x3F);
        }
        if (n == 4) {
            check(code >= 0x10000 && code <= 0x10FFFF);
            units += static_cast<wchar_t>(0xD7C0 + (code >> 10));
            code = 0xDC00 + code % 1024;
        }
        units += static_cast<wchar_t>(code);
        i += n;
    }
    return units;
}

void check_helpers(const std::wstring& a, const std::wstring& b) {
    const int order = cl::icompare(a, b);
    check((order > 0) == (cl::icompare(b, a) < 0) && (order == 0) == (cl::icompare(b, a) == 0));
    std::wstring left = a, right = b;
    cl::trim_left(cl::trim_right(left));
    cl::trim_right(cl::trim_left(right));
    check(cl::icompare_trimmed(a, b) == cl::icompare(left, right));
    check(cl::icompare_trimmed(left, right) == cl::icompare(left, right));
    check(cl::icompare(cl::lower_copy(a), a) == 0);
    check(cl::starts_with_i(a, cl::lower_copy(a.substr(0, a.size() / 2))));
    check(cl::dir_of(cl::with_backslash(a)) == cl::with_backslash(a));
    check(cl::dir_of(cl::dir_of(a)) == cl::dir_of(a));
    cl::parse_int(a, false);
    cl::parse_int(a, true);
}

void check_narrow_helpers(const std::string& s) {
    const auto z = exact(s);
    const std::string squeezed = cl::squeeze_blanks(z.get());
    check(cl::squeeze_blanks(squeezed.c_str()) == squeezed);
    check(squeezed.find("  ") == std::string::npos);
    cl::hex_pair(z.get());
    const char* tail = z.get() + std::strlen(z.get()) / 2;
    const char* found = cl::ifind(z.get(), tail);
    check(*z.get() ? found && found <= tail : !found);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::size_t buffer = data[0] % 40;
    const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    std::wstring units;
    for (std::size_t i = 1; i + 1 < size; i += 2)
        units += static_cast<wchar_t>(data[i] | data[i + 1] << 8);

    // The development port's code page maps every byte to a character of its own.
    const std::wstring wide = cl::narrow_to_wide(bytes, 0);
    check(wide.size() == bytes.size() && cl::wide_to_narrow(wide, 0) == bytes);
    check(cl::wide_to_narrow(units, 0).size() == units.size());
    check_buf(cl::ansi_to_wide_buf, bytes, wide, buffer);
    check_buf(cl::wide_to_ansi_buf, units, cl::wide_to_narrow(units, 0), buffer);

    // Encoding what was encoded changes nothing: all pairs have met.
    const std::string utf8 = cl::utf16_to_utf8(units);
    const std::wstring met = decode(utf8);
    check(met.size() <= units.size() && decode(cl::utf16_to_utf8(met)) == met);

    check_helpers(units.substr(0, units.size() / 2), units.substr(units.size() / 2));
    check_helpers(wide.substr(0, wide.size() / 2), wide.substr(wide.size() / 2));
    check_narrow_helpers(bytes);
    return 0;
}
