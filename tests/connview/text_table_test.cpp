#include "connview/text_table.hpp"

#include "choices.hpp"

#include <stdexcept>

namespace {

using vfl::text_table;

TEST(text_table, rows_and_alignment) {
    text_table t;
    t.set_alignment(text_table::last_column, 'r'); // between two rows: column 0
    t.append_cell("\x80");                         // the euro sign of windows-1252
    t.append_cell(L"\x263A");
    t.set_alignment(text_table::last_column, 'l');
    EXPECT_EQ(t.alignment, (std::vector<std::uint8_t>{'r', 'l'}));
    EXPECT_EQ(t.rows, (std::vector<std::vector<std::wstring>>{{L"\x20AC", L"\x263A"}}));
    t.default_spacing = ~std::uint64_t{0}; // two columns are wider than a string can be
    std::wstring out;
    EXPECT_THROW(t.render(out), std::length_error);
}

// Beside the same table made cell by cell, with a count of the blanks that are owed.
TEST(text_table, agrees_with_a_count_of_blanks_owed) {
    run_seeds(500, [](choices& c) {
        text_table t;
        t.default_spacing = c.below(3u);
        t.default_alignment = c.pick({std::uint8_t{'r'}, std::uint8_t{'l'}});
        for (unsigned i = c.below(5u); i > 0; --i)
            t.spacing.push_back(static_cast<std::int32_t>(c.below(5u)) - 1);
        for (unsigned i = c.below(5u); i > 0; --i)
            t.set_alignment(c.below(8u), static_cast<std::uint8_t>("lrdx"[c.below(4u)]));
        for (unsigned row = c.below(6u); row > 0; --row) {
            for (unsigned i = c.below(9u); i > 0; --i)
                t.append_cell(std::wstring(c.below(3u) * c.below(6u), L'x'));
            t.end_row();
        }
        std::size_t widths[16]{};
        for (const auto& row : t.rows)
            for (std::size_t i = 0; i < row.size(); ++i)
                widths[i] = std::max(widths[i], row[i].size());
        std::wstring want, out;
        for (const auto& row : t.rows) {
            std::size_t pad = 0;
            for (std::size_t i = 0; i < row.size(); ++i) {
                const std::uint8_t how = i < t.alignment.size() ? t.alignment[i] : std::uint8_t{'d'};
                const bool right = how == 'r' || (how == 'd' && t.default_alignment == 'r');
                const std::size_t room = widths[i] - row[i].size();
                if (row[i].empty()) {
                    pad += room;
                } else {
                    want += std::wstring(pad + (right ? room : 0), L' ') + row[i];
                    pad = right ? 0 : room;
                }
                const int gap = i < t.spacing.size() ? t.spacing[i] : -1;
                pad += gap == -1 ? t.default_spacing : static_cast<std::size_t>(gap);
            }
            want += t.line_suffix;
        }
        ASSERT_TRUE(t.render(out) == want);
    });
}

} // namespace
