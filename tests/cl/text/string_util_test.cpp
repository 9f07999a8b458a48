#include "cl/text/string_util.hpp"

#include <gtest/gtest.h>

namespace {

int sign(int v) {
    return v < 0 ? -1 : v > 0;
}

TEST(string_util, compare) {
    const struct {
        const char* name;
        std::wstring a, b;
        int order, order_trimmed;
    } rows[] = {
        {"shorter first", L"abc", L"ABCD", -1, -1},
        {"difference before length", L"b", L"ABCD", 1, 1},
        {"only A to Z fold", L"\u00E4", L"\u00C4", 1, 1},
        {"folded to lower case", L"_", L"A", -1, -1},
        {"blanks", L" \t a ", L"A", -1, 0},
        {"blanks alone", L" \r\n", L"", 1, 0},
        {"no-break space is no blank", L"a\u00A0", L"a", 1, 1},
        {"units above the surrogates", L"\uFFFD", {0xD800}, 1, 1},
        {"a zero ends the comparison, the lengths decide", {L'a', 0, L'x'}, {L'A', 0, L'b'}, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(sign(cl::icompare(row.a, row.b)), row.order);
        EXPECT_EQ(sign(cl::icompare(row.b, row.a)), -row.order);
        EXPECT_EQ(sign(cl::icompare_trimmed(row.a, row.b)), row.order_trimmed);
    }
    EXPECT_EQ(cl::icompare(L"abc", 3, L"ABCDE", 5), -2);
    EXPECT_TRUE(cl::starts_with_i(L"-Service", L"-SERV"));
    EXPECT_FALSE(cl::starts_with_i(L"-ser", L"-serv"));
}

TEST(string_util, parse_int) {
    const struct {
        std::wstring text;
        std::int32_t plain, prefixed;
    } rows[] = {
        {L"  -12x", -12, -12},
        {L"0x10", 0, 16},
        {L"+0x10", 0, 0},
        {L"0y101", 0, 5},
        {L"0o78", 0, 7},
        {L"0n19", 0, 19},
        {L"0X10", 0, 0},
        {L"0xfFg", 0, 255},
        {L"", 0, 0},
        {L"- 5", 0, 0},
        {L"--5", 0, 0},
        {L"\u00A05", 0, 0},
        {L"\v\f\r+7", 7, 7},
        {L"12A", 12, 12},
        {L"4294967297", 1, 1},
        {L"-2147483648", INT32_MIN, INT32_MIN},
        {{L'1', 0, L'2'}, 1, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        EXPECT_EQ(cl::parse_int(row.text, false), row.plain);
        EXPECT_EQ(cl::parse_int(row.text, true), row.prefixed);
    }
}

TEST(string_util, blanks_case_and_paths) {
    std::wstring s = L" \t\u00A0aB \u00C4\r\n", blank = L" \n ";
    EXPECT_EQ(cl::lower_copy(s), L" \t\u00A0ab \u00C4\r\n");
    EXPECT_EQ(cl::trim_left(s), L"\u00A0aB \u00C4\r\n");
    EXPECT_EQ(cl::trim_right(s), L"\u00A0aB \u00C4");
    EXPECT_EQ(cl::trim_left(blank), L"");
    const std::pair<const char*, const char*> squeezes[] = {
        {"  a   b  ", "a b"}, {" \t ", ""}, {"a\r\n\xA0 b", "a \xA0 b"}, {nullptr, ""}};
    for (const auto& [text, squeezed] : squeezes)
        EXPECT_EQ(cl::squeeze_blanks(text), squeezed);
    const struct {
        const wchar_t *path, *dir, *closed;
    } paths[] = {
        {L"C:\\a\\b.txt", L"C:\\a\\", L"C:\\a\\b.txt\\"},
        {L"C:b", L"C:", L"C:b\\"},
        {L"", L"", L""},
        {L"a\\", L"a\\", L"a\\"},
        {L"a/b", L"", L"a/b\\"},
    };
    for (const auto& row : paths) {
        EXPECT_EQ(cl::dir_of(row.path), row.dir);
        EXPECT_EQ(cl::with_backslash(row.path), row.closed);
    }
}

TEST(string_util, ifind_and_hex_pair) {
    const struct {
        const char *text, *needle;
        int at;
    } rows[] = {{"xAbC", "aBc", 1}, {"aab", "AB", 1},     {"abc", "abcd", -1}, {"", "", -1},
                {"a", "", 0},       {"\xC4", "\xE4", -1}, {nullptr, "a", -1}};
    for (const auto& row : rows) {
        const char* found = cl::ifind(row.text, row.needle);
        EXPECT_EQ(found ? found - row.text : -1, row.at) << row.needle;
    }
    const std::pair<const char*, int> pairs[] = {{"fFx", 0xFF}, {"09", 9}, {"a0", 0xA0}, {"g1", 1}, {"", 0}};
    for (const auto& [text, value] : pairs)
        EXPECT_EQ(cl::hex_pair(text), value) << text;
}

} // namespace
