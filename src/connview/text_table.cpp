#include "connview/text_table.hpp"

#include "cl/text/text_convert.hpp"

#include <algorithm>
#include <utility>

namespace vfl {

void text_table::append_cell(std::string_view text) {
    append_cell(cl::narrow_to_wide(text, 0));
}

void text_table::append_cell(std::wstring text) {
    if (row_closed || rows.empty()) {
        rows.emplace_back();
        // A row is most likely as long as the one before it.
        if (rows.size() > 1)
            rows.back().reserve(rows[rows.size() - 2].size());
        row_closed = false;
    }
    rows.back().push_back(std::move(text));
}

void text_table::end_row() {
    if (row_closed)
        rows.emplace_back();
    row_closed = true;
}

void text_table::set_alignment(std::uint64_t column, std::uint8_t how) {
    if (column == last_column)
        column = row_closed || rows.empty() || rows.back().empty() ? 0 : rows.back().size() - 1;
    if (column >= alignment.size())
        alignment.resize(column + 1, 'd');
    alignment[column] = how;
}

std::wstring& text_table::render(std::wstring& out) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        if (row.size() > widths.size())
            widths.resize(row.size());
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    }
    if (spacing.size() < widths.size())
        spacing.resize(widths.size(), -1);
    if (alignment.size() < widths.size())
        alignment.resize(widths.size(), 'd');

    // Where each column starts, and whether it is aligned to the right. A start beyond what a string can hold
    // stays there, and a row that needs it fails like any text that is too long.
    std::vector<std::size_t> starts(widths.size());
    std::vector<bool> right(widths.size());
    const std::size_t limit = out.max_size();
    std::size_t start = 0;
    for (std::size_t i = 0; i < widths.size(); ++i) {
        starts[i] = start;
        right[i] = (alignment[i] == 'd' ? default_alignment : alignment[i]) == 'r';
        const std::size_t gap = spacing[i] < 0 ? default_spacing : static_cast<std::size_t>(spacing[i]);
        start = std::min(limit, start + widths[i] + std::min(limit, gap));
    }

    out.clear();
    for (const auto& row : rows) {
        std::size_t count = row.size();
        while (count > 0 && row[count - 1].empty())
            --count;
        out += line_prefix;
        const std::size_t line = out.size();
        if (count > 0)
            out.append(starts[count - 1] + (right[count - 1] ? widths[count - 1] : row[count - 1].size()),
                       L' ');
        for (std::size_t i = 0; i < count; ++i) {
            const std::wstring& cell = row[i];
            const std::size_t at = line + starts[i] + (right[i] ? widths[i] - cell.size() : 0);
            cell.copy(out.data() + at, cell.size());
        }
        out += line_suffix;
    }
    return out;
}

} // namespace vfl
