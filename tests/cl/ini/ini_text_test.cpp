#include "cl/ini/ini_round.hpp"
#include "rows.hpp"

#include <gtest/gtest.h>

namespace {

TEST(ini_text, line_classes) {
    for_rows("ini_lines.tsv", [](const row& r) {
        const std::wstring line = r.wide("line");
        std::wstring name = L"-", key = L"-", value, key2 = L"-", value2;
        EXPECT_EQ(cl::parse_section_line(line, name) ? cl::make_section_line(name) : name, r.wide("header"));
        EXPECT_EQ(cl::parse_ini_line(line, key, value) ? key + L"|" + value : key + value,
                  r.wide("key_line"));
        EXPECT_EQ(cl::split_ini_line(line, key2, value2) ? key2 + L"|" + value2 : key2 + value2,
                  r.wide("split"));
    });
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

TEST(ini_sections, rounds) {
    run_seeds(300, ini_round);
}

} // namespace
