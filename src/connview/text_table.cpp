#include "connview/text_table.hpp"

#include "cl/file/text_convert.hpp"

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

    out.clear();
    for (const auto& row : rows) {
        out += line_prefix;
        std::size_t pad = 0; // blanks owed to the next cell
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::wstring& cell = row[i];
            const std::size_t room = widths[i] - cell.size();
            if (cell.empty()) {
                pad += room;
            } else if ((alignment[i] == 'd' ? default_alignment : alignment[i]) == 'r') {
                out.append(pad + room, L' ').append(cell);
                pad = 0;
            } else {
                out.append(pad, L' ').append(cell);
                pad = room;
            }
            pad += spacing[i] < 0 ? default_spacing : static_cast<std::size_t>(spacing[i]);
        }
        out += line_suffix;
    }
    return out;
}

} // namespace vfl
