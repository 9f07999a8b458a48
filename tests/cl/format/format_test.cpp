// Exact texts: what the model of integers doesn't know.
#include "cl/format/text.hpp"

#include <gtest/gtest.h>
#include <type_traits>

namespace {

using namespace std::string_literals;

template <class Ch, class... Args>
void prints(const std::type_identity_t<std::basic_string<Ch>>& want, const Ch* format, const Args&... args) {
    cl::basic_format<Ch> f(format);
    static_cast<void>((f << ... << args));
    EXPECT_EQ(f.str(), want) << format;
}

const char* address(std::uintptr_t n) {
    return reinterpret_cast<const char*>(n);
}

// What makes a literal format with another number of arguments fail to compile.
static_assert(cl::detail::count_arguments("") == 0 && cl::detail::count_arguments("100%%") == 0);
static_assert(cl::detail::count_arguments("%?%") == 2 && cl::detail::count_arguments(L"%s%%%?") == 2);
static_assert(cl::detail::count_arguments("%0*?|%*.*~*I64d|%5%|%-#' +,08.3~2llx") == 8);

TEST(format, in_one_call) {
    EXPECT_EQ(cl::text("%%%0*?, %?, %?", 3, 7, L"wide", "ab"s), "%007, wide, ab");
    EXPECT_EQ(cl::text(L"%?%?", L"ab"s, -1), L"ab-1");
    EXPECT_EQ(cl::text("none"), "none");
}

TEST(format, integers) {
    prints("65 7 1 2     3 4 6", "%s %f %i %\x80 %5% %d %i", 65, 7, 1, 2, 3, 4, 6u);
    prints("1 2 3 4 5 6", "%lu %llu %I64u %hu %Lu %hlu", 1, 2, 3, 4, 5, 6);
    prints("1u 26u 3u", "%Iu %I6u %hhu", 1, 2, 3);
    prints("-07|-00000123|-7|-7|", "%03?|%09?|%01?|%02?|", -7, -123, -7, -7);
    // Numbers are 8 bits and wrap; a negative precision is none.
    prints("  7|7|7|0|", "%259?|%.257?|%.200?|%.?|", 7, 7, 7, 0);
    prints("-1 255 65 1 0", "%? %u %? %? %d", static_cast<signed char>(-1), static_cast<signed char>(-1), 'A',
           true, false);
    prints("65535 1114111 65535 -1 c", "%? %? %? %d %c", u'\xFFFF', U'\x10FFFF', L'\xFFFF', L'\xFFFF', L'c');
    prints("-1 1 -1", "%? %? %?", -1L, 1UL, -1LL);
    prints(L"-7\u20AC\u20AC a:bcde", L"%?\u20AC%? %'x", -7, L"\u20AC", 0xABCDE);
    prints(L"\n1? 2?\u1234", L"%c%\u0130?%2\u0663?%c", 0x3000A, 1, 2, 0x1234);
    prints(L"  ab xy", L"%4? %.2?", L"ab"s, std::wstring_view(L"xyz", 3));
}

TEST(format, texts) {
    prints("abc|   abc|ab    |000ab|    ab", "%.3?|%6.3?|%-6?|%05?|%06.2?", "abcdef", "abcdef", "ab", "ab",
           "ab");
    prints("abcd", "%d%s%c%,'+#o", "a", "b", "c", "d");
    prints("(null) (n   (null)", "%? %.2? %8?", address(16), address(4095), static_cast<wchar_t*>(nullptr));
    prints("[    ]", "[%?%4?]", std::wstring_view(), std::string_view());
    prints("0xabc 0xABC 0xabc        0xabc", "%x %X %p %12x", address(0xABC), address(0xABC), address(0xABC),
           address(0xABC));
    prints("a\0b xy "s, "%? %? %?", "a\0b"s, std::string_view("xyz", 2), ""s);
    // Wide text becomes ANSI bytes, and a precision counts those.
    prints("\x80\xE4 ab |   xy", "%? %.2? %?|%5?", L"\u20AC\u00E4", L"abc", L""s, std::wstring_view(L"xy"));
    // A text can't stand in for a star.
    prints("ab|cd|ef|", "%*?|%.*?|%,.3~*?|", "ab", "cd", L"ef");
}

TEST(format, stars) {
    prints("07|7  |   7?|", "%0*?|%*?|%**?|", 2, 7, -3, 7, 4, 7);
    prints("7" + std::string(55, ' ') + "|7" + std::string(127, ' ') + "|", "%*?|%*?|", 200, 7, -128, 7);
    prints("007|7|007|ab|", "%.*?|%.*?|%.*?|%.*?|", 3, 7, -3, 7, 0x103, 7, 2, "abc");
    prints("      12|", "%,*.*~*?|", std::int64_t{8}, std::int8_t{3}, 2u, 12345);
}

TEST(format, scanning_and_finish) {
    prints("", "");
    prints("100%|%1%", "100%%|%%%?%%", 1);
    prints("-7", "%", -7);
    prints("a65bc", "a%?b%?c%", 'A', "");
    prints("ab?c?d", "a%?b%?c%?d");
    prints("abc", "a%?b%5%c%-");
    prints("ab%c%", "a%?b%5%%c%%");
    prints("ab", "a%5%b");
    prints("1b2c", "%?", 1, "b", 2u, L"c");
    prints("     0x12557", "%#8x", 1, 255, 7);
    cl::basic_format<char> twice("%?b%?c");
    twice.finish();
    twice.finish();
    EXPECT_EQ((twice << 7).str(), "b?c7");
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
        f.set_format("%?%?.");
        EXPECT_EQ(f.result(), "");
    }
    EXPECT_EQ(text, "> 1a2b7" + std::string(22, ' ') + "|?.");
    { cl::basic_strformat<char> unused(text, nullptr); }
    EXPECT_EQ(text.size(), 32u);
}

TEST(format, a_type_may_print_in_any_letter_by_default) {
    cl::basic_format<char> f("%? %04? %d");
    f.arg32(255, 255, 'x').arg64(10, 10, 'X').arg32(-1, 255, 'x');
    EXPECT_EQ(f.str(), "ff 000A -1");
}

} // namespace
