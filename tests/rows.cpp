#include "rows.hpp"

#include <fstream>
#include <sstream>

namespace {

// The units of a column. What begins with a backslash and is no escape is a failure.
std::vector<std::uint16_t> units_of(const std::string& raw, const std::string& place) {
    std::vector<std::uint16_t> units;
    for (std::size_t i = 0; i < raw.size(); ++i) {
        const std::size_t known = raw[i] == '\\' ? std::string("tnr\\xu").find(raw[i + 1]) : raw.npos;
        const std::size_t digits = known < 4 ? 0 : known == 4 ? 2 : 4;
        const std::string hex = raw.substr(std::min(i + 2, raw.size()), digits);
        if (static_cast<signed char>(raw[i]) < ' ')
            ADD_FAILURE() << place << ": not ASCII text: " << raw;
        if (raw[i] != '\\') {
            units.push_back(static_cast<unsigned char>(raw[i]));
            continue;
        }
        if (known == raw.npos || hex.size() != digits ||
            hex.find_first_not_of("0123456789ABCDEFabcdef") != raw.npos)
            ADD_FAILURE() << place << ": no escape at " << raw.substr(i);
        else
            units.push_back(static_cast<std::uint16_t>(digits ? std::stoul(hex, nullptr, 16)
                                                              : static_cast<unsigned>("\t\n\r\\"[known])));
        i += 1 + digits;
    }
    return units;
}

std::vector<std::string> columns_of(std::string line) {
    if (line.ends_with('\r'))
        line.pop_back();
    std::vector<std::string> columns(1);
    for (const char c : line)
        if (c == '\t')
            columns.emplace_back();
        else
            columns.back() += c;
    return columns;
}

} // namespace

const std::string& row::raw(const char* column) const {
    static const std::string none;
    const auto at = columns_.find(column);
    if (at == columns_.end())
        ADD_FAILURE() << place << ": no column " << column;
    return at == columns_.end() ? none : at->second;
}

std::string row::text(const char* column) const {
    std::string s;
    for (const std::uint16_t unit : units_of(raw(column), place)) {
        EXPECT_LT(unit, 256) << place << ": wider than a byte";
        s += static_cast<char>(unit);
    }
    return s;
}

std::wstring row::wide(const char* column) const {
    const std::vector<std::uint16_t> units = units_of(raw(column), place);
    return {units.begin(), units.end()};
}

std::int64_t row::number(const char* column) const {
    const std::string& s = raw(column);
    std::size_t end = 0;
    const bool negative = s.starts_with('-'), hex = s.starts_with("0x");
    std::int64_t value = 0;
    try {
        value =
            s.empty() ? 0 : static_cast<std::int64_t>(std::stoull(s.substr(negative), &end, hex ? 16 : 10));
    } catch (const std::exception&) {
        end = s.npos;
    }
    EXPECT_EQ(end + (negative ? 1 : 0), s.size()) << place << ": no number: " << s;
    return negative ? -value : value;
}

std::vector<row> read_rows(const std::string& file) {
    std::vector<row> rows;
    std::vector<std::string> names;
    std::ifstream in(VFL_TEST_DATA "/" + file);
    std::string line;
    for (int n = 1; std::getline(in, line); ++n) {
        if (line.empty() || line[0] == '#' || line == "\r")
            continue;
        const std::vector<std::string> columns = columns_of(line);
        if (names.empty()) {
            names = columns;
            continue;
        }
        row r;
        r.place = file + ":" + std::to_string(n) + ": " + columns[0];
        EXPECT_LE(columns.size(), names.size()) << r.place << ": more columns than names";
        for (std::size_t i = 0; i < names.size(); ++i)
            r.columns_[names[i]] = i < columns.size() ? columns[i] : "";
        rows.push_back(r);
    }
    EXPECT_FALSE(rows.empty()) << file << " has no rows below " VFL_TEST_DATA;
    return rows;
}
