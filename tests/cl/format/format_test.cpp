#include "cl/format/format.hpp"

#include <climits>
#include <cstdint>
#include <gtest/gtest.h>

namespace {

using narrow = cl::format_base<char>;
using wide = cl::format_base<wchar_t>;

template <class Ch>
struct row {
    const Ch* format;
    void (*insert)(cl::format_base<Ch>& f);
    std::basic_string<Ch> text;
};

template <class Ch, std::size_t N>
void check(const row<Ch> (&rows)[N]) {
    for (const row<Ch>& r : rows) {
        cl::basic_format<Ch> f(r.format);
        r.insert(f);
        EXPECT_EQ(f.str(), r.text) << "format number " << &r - rows << ": " << r.format;
    }
}

const char* address(std::uintptr_t n) {
    return reinterpret_cast<const char*>(n);
}

} // namespace

TEST(format, integers) {
    const row<char> rows[] = {
        {"%,.3?", [](narrow& f) { f << 5; }, "0.005"},
        {"%#,.3? %#,.3? %#,.3?", [](narrow& f) { f << 1500 << 1000 << 0; }, "1.5 1 0"},
        {"%,.2?", [](narrow& f) { f << -5; }, "-0.05"},
        {"%'? %'x %'? %'?", [](narrow& f) { f << 1234567 << 0xDEADBEEF << 999 << -1000; },
         "1,234,567 dead:beef 999 -1,000"},
        {"%#08x %#x %#o %#o %p %p", [](narrow& f) { f << 0xAB << 0 << 8 << 0 << 0x1000 << 0; },
         "0x0000ab 0 010 0 0x1000 0"},
        {"%+x %+#x % d", [](narrow& f) { f << 255 << 255 << 7; }, "+ff +0xff  7"},
        {"%5.3?|%05.3?|%-05?|", [](narrow& f) { f << 7 << 7 << 7; }, "  007|  007|7    |"},
        {"%Z %m %m %c %c|%3c|%03c|%-3c|", [](narrow& f) { f << 36 << 0 << 64 << 65 << 0 << 66 << 67 << 68; },
         "10 A BA A |  B|00C|D  |"},
        {"%.0c|", [](narrow& f) { f << 65; }, "|"},
        {"%f %s %5% %\x80 %i %i", [](narrow& f) { f << 1 << 2 << 3 << 4 << -5 << 6u; }, "1 2     3 4 -5 6"},
        {"%lu %llu %I64u %hu %Lu %hlu", [](narrow& f) { f << 1 << 2 << 3 << 4 << 5 << 6; }, "1 2 3 4 5 6"},
        {"%Iu %I6u %hhu", [](narrow& f) { f << 1 << 2 << 3; }, "1u 26u 3u"},
        {"%,.3~3? %,.3~3? %,.3~3? %,.1~1?|", [](narrow& f) { f << 12345 << 1234 << 123 << -95; },
         "12.3 1.23 0.123 -10|"},
        // The rounding of the largest values must not wrap.
        {"%,.20~1u %,.20~1u", [](narrow& f) { f << UINT64_MAX << UINT32_MAX; }, "0.2 0.00000000004"},
        {"%03?|%09?|%3?|%9?|%01?|%02?|", [](narrow& f) { f << -7 << -123 << -7 << -123 << -7 << -7; },
         "-07|-00000123| -7|     -123|-7|-7|"},
        // Numbers are 8 bits and wrap; a negative precision is none.
        {"%259?|%.257?|%.200?|%.?|", [](narrow& f) { f << 7 << 7 << 7 << 0; }, "  7|7|7|0|"},
        {"%? %? %u %?", [](narrow& f) { f << INT64_MIN << INT32_MIN << -1 << UINT64_MAX; },
         "-9223372036854775808 -2147483648 4294967295 18446744073709551615"},
    };
    check(rows);
}

TEST(format, types_of_integers) {
    const row<char> rows[] = {
        {"%? %x %d",
         [](narrow& f) { f << std::uint16_t{0xFFFF} << std::uint16_t{0xFFFF} << std::uint16_t{0xFFFF}; },
         "65535 ffff -1"},
        {"%? %u %?",
         [](narrow& f) { f << static_cast<signed char>(-1) << static_cast<signed char>(-1) << 'A'; },
         "-1 255 65"},
        {"%? %d %? %?", [](narrow& f) { f << true << false << u'\xFFFF' << U'\x10FFFF'; },
         "1 0 65535 1114111"},
        {"%? %d %c", [](narrow& f) { f << L'\xFFFF' << L'\xFFFF' << L'c'; }, "65535 -1 c"},
        {"%? %? %?", [](narrow& f) { f << -1L << 1UL << -1LL; }, "-1 1 -1"},
    };
    check(rows);
    const row<wchar_t> wide_rows[] = {
        {L"%?\u20AC%? %'x", [](wide& f) { f << -7 << L"\u20AC" << 0xABCDE; }, L"-7\u20AC\u20AC a:bcde"},
        {L"%c%\u0130?%2\u0663?", [](wide& f) { f << 0x3000A << 1 << 2; }, L"\n1? 2?"},
        {L"%4? %.2?", [](wide& f) { f << std::wstring(L"ab") << std::wstring_view(L"xyz", 3); }, L"  ab xy"},
    };
    check(wide_rows);
}

TEST(format, texts) {
    const row<char> rows[] = {
        {"%.3?|%6.3?|%-6?|%05?|%06.2?",
         [](narrow& f) {
             f << "abcdef"
               << "abcdef"
               << "ab"
               << "ab"
               << "ab";
         },
         "abc|   abc|ab    |000ab|    ab"},
        {"%d%s%c%,'+#o",
         [](narrow& f) {
             f << "a"
               << "b"
               << "c"
               << "d";
         },
         "abcd"},
        {"%? %? %.2? %8?",
         [](narrow& f) {
             f << static_cast<const char*>(nullptr) << address(16) << address(4095)
               << static_cast<wchar_t*>(nullptr);
         },
         "(null) (null) (n   (null)"},
        {"[%?%4?]",
         [](narrow& f) {
             f.arg_text(nullptr, 9, false);
             f << std::string_view();
         },
         "[    ]"},
        {"%x %X %p %12x",
         [](narrow& f) { f << address(0xABC) << address(0xABC) << address(0xABC) << address(0xABC); },
         "0xabc 0xABC 0xabc        0xabc"},
        {"%? %? %?",
         [](narrow& f) { f << std::string("a\0b", 3) << std::string_view("xyz", 2) << std::string(); },
         std::string("a\0b xy ", 7)},
        // Wide text becomes ANSI bytes, and a precision counts those.
        {"%? %.2? %?|%5?",
         [](narrow& f) { f << L"\u20AC\u00E4" << L"abc" << std::wstring() << std::wstring_view(L"xy"); },
         "\x80\xE4 ab |   xy"},
        // A text can't stand in for a star.
        {"%*?|%.*?|%,.3~*?|",
         [](narrow& f) {
             f << "ab"
               << "cd" << L"ef";
         },
         "ab|cd|ef|"},
    };
    check(rows);
}

TEST(format, stars) {
    const row<char> rows[] = {
        {"%0*?|%*?|", [](narrow& f) { f << 2 << 7 << -3 << 7; }, "07|7  |"},
        {"%*?|", [](narrow& f) { f << 200 << 7; }, "7" + std::string(55, ' ') + "|"},
        {"%*?|", [](narrow& f) { f << -128 << 7; }, "7" + std::string(127, ' ') + "|"},
        {"%.*?|%.*?|%.*?|", [](narrow& f) { f << 3 << 7 << -3 << 7 << 0x103 << 7; }, "007|7|007|"},
        {"%,*.*~*?|", [](narrow& f) { f << std::int64_t{8} << std::int8_t{3} << 2u << 12345; }, "      12|"},
        {"%**?|", [](narrow& f) { f << 4 << 7; }, "   7?|"},
        {"%.*?|", [](narrow& f) { f << 2 << "abc"; }, "ab|"},
    };
    check(rows);
}

TEST(format, scanning_and_finish) {
    const row<char> rows[] = {
        {"no directive", [](narrow&) {}, "no directive"},
        {"", [](narrow&) {}, ""},
        {"100%%|%%%?%%", [](narrow& f) { f << 1; }, "100%|%1%"},
        {"%", [](narrow& f) { f << -7; }, "-7"},
        {"a%", [](narrow&) {}, "a"},
        {"a%?b%?c", [](narrow&) {}, "ab?c"},
        {"a%?b%?c", [](narrow& f) { f << 'A'; },
         "a65b"
         "c"},
        {"a%?b%?c%?d", [](narrow&) {}, "ab?c?d"},
        {"a%?b%5%c%-", [](narrow&) {}, "abc"},
        {"a%?b%5%%c%%", [](narrow&) {}, "ab%c%"},
        {"a%5%b", [](narrow&) {}, "ab"},
        {"%?", [](narrow& f) { f << 1 << "b" << 2u << L"c"; }, "1b2c"},
        {"%#8x", [](narrow& f) { f << 1 << 255 << 7; }, "     0x12557"},
        {"%?b%?c",
         [](narrow& f) {
             f.finish();
             f.finish();
             f << 7;
         },
         "b?c7"},
    };
    check(rows);
}

TEST(format, a_string_takes_several_formats_in_turn) {
    std::string text = "> ";
    {
        cl::basic_strformat<char> f(text);
        f << 1; // no format yet
        f.set_format("a%?b");
        EXPECT_EQ(text, "> 1a") << "literal text is out at once";
        f << 2;
        EXPECT_EQ(text, "> 1a2b");
        f.set_format("%-2?dropped");
        // The width and the flag of the directive without an argument stay, and digits add to them.
        f.set_format("%3?|");
        f << 7;
        EXPECT_EQ(text, "> 1a2b7" + std::string(22, ' ') + "|");
        f.set_format("%?%?.");
        EXPECT_EQ(f.result(), "");
    }
    EXPECT_EQ(text, "> 1a2b7" + std::string(22, ' ') + "|?.");
    { cl::basic_strformat<char> unused(text, nullptr); }
    EXPECT_EQ(text.size(), 32u);
}
