#include "cl/text/text_convert.hpp"

#include "guard_page.hpp"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

TEST(text_convert, string_forms) {
    EXPECT_EQ(cl::narrow_to_wide("a\0\xE4\x80"s, 0), L"a\0\u00E4\u20AC"s);
    EXPECT_EQ(cl::narrow_to_wide("", 0), L"");
    EXPECT_EQ(cl::wide_to_narrow(L"a\0\u00E4\u20AC\u4E2D"s, 0), "a\0\xE4\x80?"s);
    EXPECT_EQ(cl::wide_to_narrow(L"abc", 2, 0), "ab");
    EXPECT_EQ(cl::wide_to_narrow(static_cast<const wchar_t*>(nullptr), 0), "");
    EXPECT_EQ(cl::wide_to_narrow(static_cast<const wchar_t*>(nullptr), 5, 0), "");
    EXPECT_EQ(cl::utf16_to_utf8(static_cast<const wchar_t*>(nullptr)), "");
    const struct {
        const char* name;
        std::wstring units;
        std::string bytes;
    } rows[] = {
        {"zeros are kept", {L'a', 0, L'b'}, {'a', 0, 'b'}},
        {"borders", L"\x7F\u0080\u07FF\u0800\uFFFF", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
        {"first and last pair", {0xD800, 0xDC00, 0xDBFF, 0xDFFF}, "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
        {"low half alone", {0xDE00, L'x'}, "\xED\xB8\x80x"},
        {"high half at the end", {L'x', 0xD83D}, "x"},
        {"high half waits over other text", {0xD83D, L'x', 0xDE00}, "x\xF0\x9F\x98\x80"},
        {"a second high half replaces the first",
         {0xD800, 0xD83D, 0xDE00, 0xDE00},
         "\xF0\x9F\x98\x80\xED\xB8\x80"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(cl::utf16_to_utf8(row.units), row.bytes) << row.name;
}

// Every size of the target around the text's length: the text as far as it fits and a zero behind it. Both
// arrays end at an inaccessible page.
template <class Dst, class Src, class Convert>
void check_buf(Convert convert, const std::basic_string<Src>* text, const std::basic_string<Dst>& whole) {
    const guard_page source, target;
    const Src* src = nullptr;
    if (text) {
        Src* const copy = source.last<Src>(text->size() + 1);
        std::copy_n(text->c_str(), text->size() + 1, copy);
        src = copy;
    }
    for (std::int64_t size = -1; size <= 14; ++size) {
        SCOPED_TRACE(size);
        const auto n = static_cast<std::size_t>(std::max<std::int64_t>(size, 0));
        Dst* const dst = target.last<Dst>(n);
        std::fill_n(dst, n, Dst(0x55));
        EXPECT_EQ(convert(dst, src, size), dst);
        if (n) {
            EXPECT_EQ(std::basic_string<Dst>(dst), whole.substr(0, n - 1));
            EXPECT_EQ(dst[n - 1], src || n == 1 ? Dst(0) : Dst(0x55));
        }
    }
    EXPECT_EQ(convert(nullptr, src, 5), nullptr);
}

TEST(text_convert, buf_forms_truncate_in_silence) {
    const std::string bytes = "0123456\xE4\x80-", empty;
    const std::wstring units = L"0123456\u00E4\u20AC-";
    check_buf(cl::ansi_to_wide_buf, &bytes, units);
    check_buf(cl::ansi_to_wide_buf, &empty, std::wstring());
    check_buf<wchar_t, char>(cl::ansi_to_wide_buf, nullptr, std::wstring());
    check_buf(cl::wide_to_ansi_buf, &units, bytes);
    check_buf<char, wchar_t>(cl::wide_to_ansi_buf, nullptr, std::string());
}

} // namespace
