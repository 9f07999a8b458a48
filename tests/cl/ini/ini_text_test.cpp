#include "cl/ini/ini_text.hpp"

#include <gtest/gtest.h>

namespace {

TEST(ini_text, line_classes) {
    const struct {
        const wchar_t* line;     // trimmed at the left
        const wchar_t* section;  // null: no header
        const wchar_t* normal;   // null: no key line
        const wchar_t* verbatim; // what split_ini_line gives, null: false
    } rows[] = {
        {L"", nullptr, nullptr, nullptr},
        {L"a=b ; c", nullptr, L"a|b ; c", L"a|b ; c"},
        {L"key =\ttwo  wo\trds \v", nullptr, L"key|two  wo rds", L"key |\ttwo  wo\trds \v"},
        {L"a\tb\fc = \"d\" = e", nullptr, L"a b c|\"d\" = e", L"a\tb\fc | \"d\" = e"},
        {L"key=", nullptr, L"key|", L"key|"},
        {L"=value", nullptr, nullptr, nullptr},
        {L" \t= value", nullptr, nullptr, L" \t| value"},
        {L"other line", nullptr, nullptr, nullptr},
        {L";key=value", nullptr, nullptr, nullptr},
        {L" ;key=value", nullptr, L";key|value", L" ;key|value"},
        {L"#key=value", nullptr, L"#key|value", L"#key|value"},
        {L"\u00A0=\u00A0", nullptr, L"\u00A0|\u00A0", L"\u00A0|\u00A0"},
        {L"[name] trailing", L"name", nullptr, nullptr},
        {L"[ na me\t]", L"na me", nullptr, nullptr},
        {L"[name ", L"name", nullptr, nullptr},
        {L"[", L"", nullptr, nullptr},
        {L"[]", L"", nullptr, nullptr},
        {L"[[a]]=b", L"[a", L"[[a]]|b", L"[[a]]|b"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(row.line)));
        const auto expect = [](const wchar_t* expected, bool result, const std::wstring& shown) {
            EXPECT_EQ(result, expected != nullptr);
            EXPECT_EQ(shown, expected ? expected : L"untouched|");
        };
        std::wstring name = L"untouched|", key = L"untouched", value, key2 = L"untouched", value2;
        expect(row.section, cl::parse_section_line(row.line, name), name);
        const bool parsed = cl::parse_ini_line(row.line, key, value);
        expect(row.normal, parsed, key + L"|" + value);
        const bool split = cl::split_ini_line(row.line, key2, value2);
        expect(row.verbatim, split, key2 + L"|" + value2);
    }
}

TEST(ini_text, names_compare_by_their_ascii_letters_and_then_their_length) {
    const struct {
        std::wstring a, b;
        int order;
    } rows[] = {
        {L"abc", L"ABC", 0},   {L"abc", L"ABCDE", -2},
        {L"b", L"ABC", 1},     {L"\u00C4", L"\u00E4", -1},
        {L"", L"", 0},         {{L'a', 0, L'x'}, {L'A', 0, L'b'}, 1},
        {L"_", L"A", -1},      {L"\uFFFD", {0xD800}, 1},
        {L"@[`{", L"@[`{", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.a));
        EXPECT_EQ(cl::compare_ci(row.a, row.b), row.order);
        EXPECT_EQ(cl::compare_ci(row.b, row.a), -row.order);
        EXPECT_EQ(cl::equal_ci(row.a, row.b), row.order == 0);
    }
}

} // namespace
