#include "connview/text_table.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <stdexcept>

namespace {

using vfl::text_table;

TEST(text_table, rows_and_alignment) {
    text_table t;
    t.set_alignment(text_table::last_column, 'r'); // between two rows: column 0
    t.append_cell("a");
    t.append_cell("\x80"); // the euro sign of windows-1252
    t.append_cell(L"\x263A");
    t.set_alignment(text_table::last_column, 'l');
    EXPECT_EQ(t.alignment, (std::vector<std::uint8_t>{'r', 'd', 'l'}));
    t.end_row();
    t.set_alignment(text_table::last_column, 'x');
    EXPECT_EQ(t.alignment, (std::vector<std::uint8_t>{'x', 'd', 'l'}));
    t.end_row();
    t.append_cell("b");
    EXPECT_EQ(t.rows, (std::vector<std::vector<std::wstring>>{{L"a", L"\x20AC", L"\x263A"}, {}, {L"b"}}));
    std::wstring out;
    t.render(out);
    EXPECT_EQ(t.spacing, (std::vector<std::int32_t>{-1, -1, -1}));
}

// The same table with a count of blanks owed, cell by cell.
std::wstring naive_render(const text_table& t) {
    std::vector<std::size_t> widths(16);
    for (const auto& row : t.rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    std::wstring out;
    for (const auto& row : t.rows) {
        out += t.line_prefix;
        std::size_t pad = 0;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::uint8_t how = i < t.alignment.size() ? t.alignment[i] : std::uint8_t{'d'};
            const std::size_t room = widths[i] - row[i].size();
            if (row[i].empty()) {
                pad += room;
            } else if (how == 'r' || (how == 'd' && t.default_alignment == 'r')) {
                out += std::wstring(pad + room, L' ') + row[i];
                pad = 0;
            } else {
                out += std::wstring(pad, L' ') + row[i];
                pad = room;
            }
            const int gap = i < t.spacing.size() ? t.spacing[i] : -1;
            pad += gap == -1 ? t.default_spacing : static_cast<std::size_t>(gap);
        }
        out += t.line_suffix;
    }
    return out;
}

TEST(text_table, agrees_with_a_count_of_blanks_owed) {
    std::mt19937 random(1);
    const auto below = [&](unsigned n) { return static_cast<unsigned>(random() % n); };
    for (int round = 0; round < 500; ++round) {
        text_table t;
        t.default_spacing = below(3);
        t.default_alignment = below(2) ? 'r' : 'l';
        for (unsigned i = below(5); i > 0; --i)
            t.spacing.push_back(static_cast<std::int32_t>(below(5)) - 1);
        for (unsigned i = below(5); i > 0; --i)
            t.set_alignment(below(8), static_cast<std::uint8_t>("lrdx"[below(4)]));
        for (unsigned row = below(6); row > 0; --row) {
            for (unsigned i = below(9); i > 0; --i)
                t.append_cell(std::wstring(below(3) * below(6), L'x'));
            t.end_row();
        }
        const std::wstring want = naive_render(t);
        std::wstring out;
        ASSERT_TRUE(t.render(out) == want) << round;
    }
}

TEST(text_table, spacing_without_limit) {
    text_table t;
    t.default_spacing = ~std::uint64_t{0};
    t.append_cell(L"one column needs none");
    std::wstring out;
    EXPECT_EQ(t.render(out).size(), 22u);
    t.append_cell(L"two are more than a string holds");
    EXPECT_THROW(t.render(out), std::length_error);
}

} // namespace
