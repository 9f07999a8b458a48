#include "table_contestants.hpp"

#include <fmt/format.h>
#include <fmt/xchar.h>

#include <algorithm>
#include <iomanip>
#include <iterator>
#include <sstream>

namespace {

std::vector<std::size_t> column_widths(const table_rows& rows) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    }
    return widths;
}

// A width of 0 for the last cell of a left-aligned column: nothing follows it.
std::size_t cell_width(const std::vector<std::size_t>& widths, std::size_t column, bool right) {
    return column + 1 == widths.size() && !right ? 0 : widths[column];
}

} // namespace

std::wstring render_with_ostringstream(const table_rows& rows, const std::vector<bool>& right) {
    const std::vector<std::size_t> widths = column_widths(rows);
    std::wostringstream out;
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (i > 0)
                out << L' ';
            out << (right[i] ? std::right : std::left)
                << std::setw(static_cast<int>(cell_width(widths, i, right[i]))) << row[i];
        }
        out << L'\n';
    }
    return std::move(out).str();
}

std::wstring render_with_fmt(const table_rows& rows, const std::vector<bool>& right) {
    const std::vector<std::size_t> widths = column_widths(rows);
    fmt::wmemory_buffer out;
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (i > 0)
                out.push_back(L' ');
            const std::size_t width = cell_width(widths, i, right[i]);
            if (right[i])
                fmt::format_to(std::back_inserter(out), L"{:>{}}", row[i], width);
            else
                fmt::format_to(std::back_inserter(out), L"{:<{}}", row[i], width);
        }
        out.push_back(L'\n');
    }
    return fmt::to_string(out);
}
