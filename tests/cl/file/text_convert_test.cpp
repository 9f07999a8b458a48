#include "cl/file/text_convert.hpp"

#include "guard_page.hpp"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

TEST(text_convert, string_forms) {
    EXPECT_EQ(cl::narrow_to_wide("a\xE4\x80", 0), L"a\u00E4\u20AC");
    EXPECT_EQ(cl::narrow_to_wide("", 0), L"");
    EXPECT_EQ(cl::narrow_to_wide(std::string("a\0b", 3), 0), std::wstring(L"a\0b", 3));
    EXPECT_EQ(cl::wide_to_narrow(std::wstring(L"a\0\u00E4", 3), 0), std::string("a\0\xE4", 3));
    EXPECT_EQ(cl::wide_to_narrow(L"\u20AC\u4E2D", 0), "\x80?");
    EXPECT_EQ(cl::wide_to_narrow(L"abc", 2, 0), "ab");
    EXPECT_EQ(cl::wide_to_narrow(static_cast<const wchar_t*>(nullptr), 0), "");
    EXPECT_EQ(cl::wide_to_narrow(static_cast<const wchar_t*>(nullptr), 5, 0), "");
}

TEST(text_convert, utf16_to_utf8) {
    const struct {
        const char* name;
        std::wstring units;
        std::string bytes;
    } rows[] = {
        {"empty", L"", ""},
        {"zeros are kept", {L'a', 0, L'b'}, {'a', 0, 'b'}},
        {"borders", L"\x7F\u0080\u07FF\u0800\uFFFF", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
        {"pair", {0xD83D, 0xDE00}, "\xF0\x9F\x98\x80"},
        {"first and last pair", {0xD800, 0xDC00, 0xDBFF, 0xDFFF}, "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
        {"low half alone", {0xDE00, L'x'}, "\xED\xB8\x80x"},
        {"high half at the end", {L'x', 0xD83D}, "x"},
        {"high half waits over other text", {0xD83D, L'x', 0xDE00}, "x\xF0\x9F\x98\x80"},
        {"a second high half replaces the first",
         {0xD800, 0xD83D, 0xDE00, 0xDE00},
         "\xF0\x9F\x98\x80\xED\xB8\x80"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(cl::utf16_to_utf8(row.units), row.bytes);
    }
    EXPECT_EQ(cl::utf16_to_utf8(L"\u00E4"), "\xC3\xA4");
    EXPECT_EQ(cl::utf16_to_utf8(static_cast<const wchar_t*>(nullptr)), "");
}

// Every size of the target around the text's length: the text as far as it fits and a zero behind it. Both
// arrays end at an inaccessible page.
template <class Dst, class Src, class Convert>
void check_buf(Convert convert, const Src* text, const std::basic_string<Dst>& whole) {
    const guard_page source, target;
    const Src* src = nullptr;
    if (text) {
        const std::basic_string<Src> copy = text;
        src = std::copy_n(copy.c_str(), copy.size() + 1, source.last<Src>(copy.size() + 1)) - copy.size() - 1;
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
    check_buf<wchar_t>(cl::ansi_to_wide_buf,
                       "0123456\xE4\x80"
                       "9",
                       std::wstring(L"0123456\u00E4\u20AC9"));
    check_buf<char>(cl::wide_to_ansi_buf, L"0123456\u00E4\u20AC9",
                    std::string("0123456\xE4\x80"
                                "9"));
    check_buf<wchar_t>(cl::ansi_to_wide_buf, "", std::wstring());
    check_buf<wchar_t>(cl::ansi_to_wide_buf, static_cast<const char*>(nullptr), std::wstring());
    check_buf<char>(cl::wide_to_ansi_buf, static_cast<const wchar_t*>(nullptr), std::string());
}

} // namespace
