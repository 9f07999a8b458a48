// Tables of facts, texts and formats: the files of tests/data. The first line of a file that is neither empty
// nor a comment (#) names the columns, which tabs part; each further one is a row, and empty columns at its
// end may be missing. The files are ASCII; "\t", "\n", "\r", "\\", "\xNN" (a byte or unit) and "\uNNNN" (a
// UTF-16 unit) stand for what the files can't show.
#pragma once

#include <cstdint>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

class row {
public:
    // The column, without its escapes. One that the table doesn't have is a failure and an empty text.
    std::string text(const char* column) const;
    std::wstring wide(const char* column) const;
    // Decimal, or hexadecimal after 0x; 0 for an empty column. Anything else is a failure.
    std::int64_t number(const char* column) const;
    // The file, the line and the first column.
    std::string place;

private:
    friend std::vector<row> read_rows(const std::string& file);
    const std::string& raw(const char* column) const;
    std::map<std::string, std::string> columns_;
};

// All rows of a file of tests/data, in their order. A file that isn't there or has no row is a failure.
std::vector<row> read_rows(const std::string& file);

// Calls check(row) for each of them, with its place in the trace.
template <class Check>
void for_rows(const std::string& file, Check check) {
    for (const row& r : read_rows(file)) {
        SCOPED_TRACE(r.place);
        check(r);
    }
}
