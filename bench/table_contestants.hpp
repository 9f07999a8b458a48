// Other ways to lay rows of cells out in aligned columns, each on rows of the same length.
#pragma once

#include <string>
#include <vector>

using table_rows = std::vector<std::vector<std::wstring>>;

// `right` has a flag for each column. Columns are one blank apart; no line has blanks at its end.
std::wstring render_with_ostringstream(const table_rows& rows, const std::vector<bool>& right);
std::wstring render_with_fmt(const table_rows& rows, const std::vector<bool>& right);
