// Rows of cells, laid out in aligned columns for a console.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vfl {

struct text_table {
    static constexpr std::uint64_t last_column = ~std::uint64_t{0};

    std::vector<std::vector<std::wstring>> rows;
    std::vector<std::int32_t> spacing;   // blanks after each column; negative: default_spacing
    std::vector<std::uint8_t> alignment; // for each column 'l', 'r', or 'd' for default_alignment
    std::wstring line_prefix;            // at the start of each line
    std::wstring line_suffix = L"\n";    // at the end of each line
    std::uint64_t default_spacing = 1;
    std::uint8_t default_alignment = 'l';
    bool row_closed = true; // the next cell opens a new row

    // Appends a cell to the current row. A narrow text is in the ANSI code page.
    void append_cell(std::string_view text);
    void append_cell(std::wstring text);
    void append_cell(const wchar_t* text) { append_cell(std::wstring(text)); }

    // Ends the current row. Where there is none, adds an empty one, which renders as an empty line.
    void end_row();

    // last_column means the column of the cell appended last, or column 0 between two rows.
    void set_alignment(std::uint64_t column, std::uint8_t how);

    // Writes the table to `out` in place of what is there, and returns `out`. A column is as wide as its
    // widest cell in UTF-16 code units. No line has blanks at its end. Extends spacing and alignment to the
    // number of columns. A line longer than a string can be throws as a string does.
    std::wstring& render(std::wstring& out);
};

} // namespace vfl
