#include "cl/ini/ini_text.hpp"

#include <gtest/gtest.h>

namespace {

TEST(ini_text, line_classes) {
    const wchar_t* const none = L"untouched";
    // What the parsers of a header, of a key line and of one in normal form make of a line.
    const wchar_t* const rows[][4] = {
        {L"", none, none, none},
        {L"a=b ; c", none, L"a|b ; c", L"a|b ; c"},
        {L"key =\ttwo  wo\trds \v", none, L"key|two  wo rds", L"key |\ttwo  wo\trds \v"},
        {L"a\tb\fc = \"d\" = e\r", none, L"a b c|\"d\" = e", L"a\tb\fc | \"d\" = e\r"},
        {L"key=", none, L"key|", L"key|"},
        {L"=value", none, none, none},
        {L" \t= value", none, none, L" \t| value"},
        {L"other line", none, none, none},
        {L";key=value", none, none, none},
        {L"\u00A0=\u00A0", none, L"\u00A0|\u00A0", L"\u00A0|\u00A0"},
        {L"[ na me\t] tail", L"na me", none, none},
        {L"[name ", L"name", none, none},
        {L"[]", L"", none, none},
        {L"[[a]]=b", L"[a", L"[[a]]|b", L"[[a]]|b"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(row[0])));
        std::wstring name = none, key = none, value, key2 = none, value2;
        cl::parse_section_line(row[0], name);
        EXPECT_EQ(name, row[1]);
        EXPECT_EQ(cl::parse_ini_line(row[0], key, value) ? key + L"|" + value : key + value, row[2]);
        EXPECT_EQ(cl::split_ini_line(row[0], key2, value2) ? key2 + L"|" + value2 : key2 + value2, row[3]);
    }
}

TEST(ini_text, names_compare_by_their_ascii_letters_and_then_their_length) {
    const struct {
        std::wstring a, b;
        int order;
    } rows[] = {
        {L"abc", L"ABC", 0},
        {L"abc", L"ABCDE", -2},
        {L"b", L"ABC", 1},
        {L"\u00C4", L"\u00E4", -1},
        {L"_", L"A", -1},
        {L"@[`{", L"@[`{", 0},
        {{L'a', 0, L'x'}, {L'A', 0, L'b'}, 1},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(cl::compare_ci(row.a, row.b), row.order);
        EXPECT_EQ(cl::compare_ci(row.b, row.a), -row.order);
        EXPECT_EQ(cl::equal_ci(row.a, row.b), row.order == 0);
    }
}

} // namespace
