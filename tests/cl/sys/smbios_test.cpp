#include "cl/sys/smbios_round.hpp"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using std::string;

// A structure: its type, its data behind the handle, and its strings.
string part(unsigned type, const string& data, const std::vector<string>& strings = {}) {
    string s{static_cast<char>(type), static_cast<char>(data.size() + 4), 'h', 'h'};
    s += data;
    for (const string& text : strings)
        s += text + '\0';
    return s + (strings.empty() ? string(2, '\0') : string(1, '\0'));
}

const string header(8, 'H');
const string end = {127, 4, 0, 0, 0, 0};

// 27 bytes of a memory module with these four references.
string memory(const char (&r)[5], const std::vector<string>& strings) {
    return part(17, string(12, '\0') + string(r, 2) + string(5, '\0') + string(r + 2, 2) + string(2, '\0'),
                strings);
}

TEST(smbios, items_of_a_table) {
    string uuid(20, '\0');
    for (int i = 0; i < 16; ++i)
        uuid[4 + static_cast<std::size_t>(i)] = static_cast<char>(0x10 + i);
    const string whole = header + part(0, "x", {"maker"}) + part(1, uuid.substr(0, 19)) + part(1, uuid) +
                         part(2, "\1\2\3\4", {" Board Co \t", "model", "v", "  \r S/N 7\n"}) +
                         part(2, "\1", {"other"}) + part(8, "\1", {"USB"}) +
                         part(9, "\1", {"PCI", "unread"}) + part(8, string(1, 0), {"Audio"}) +
                         memory("\2\1\0\3", {"bank", "slot", "serial"}) + memory("\0\0\0\0", {"a"}) +
                         memory("\1\0\7\0", {"A1"}) + end;
    const struct {
        const char* name;
        string table, items;
    } rows[] = {
        {"whole", whole,
         "Board Co; S/N 7; 13121110-1514-1716-1819-1a1b1c1d1e1f; AudioPCIUSB; A1:::slot:bank::serial; "
         "0-1-1-2-2-8-9-8-17-17-17; "},
        {"first structure of two", header + part(3, "\1", {"case"}) + part(4, "x"), "; ; ; ; ; 3-4; "},
        {"a reference out of range, and one of 0", header + part(2, "\3x\0\0", {"a", "b"}), "; ; ; ; ; 2; "},
        {"a board without room for its serial number", header + part(2, "\1xx", {"a", "b"}),
         "a; ; ; ; ; 2; "},
        {"a board of blanks", header + part(2, "\1xx\1", {" \t "}), "; ; ; ; ; 2; "},
        {"length below 5", header + part(2, "\1", {"a"}) + string("\3\4hh\0\0", 6) + part(4, "x"),
         "a; ; ; ; ; 2; "},
        {"length 0", header + string("\2\0hh\0\0", 6), ""},
        {"length beyond the end", header + part(2, "\1", {"a"}) + "\2\xF0hhxxxx", "a; ; ; ; ; 2; "},
        {"strings cut off by the end", header + "\2\5hh\1Boa", "Boa; ; ; ; ; 2; "},
        {"no string set at all", header + "\2\5hh\1", "; ; ; ; ; 2; "},
        {"fewer than 4 bytes behind a structure", header + part(5, "x") + "\2\5h", "; ; ; ; ; 5; "},
        {"end mark alone", header + end, ""},
        {"half a header", "HHH", ""},
    };
    for (const auto& r : rows) {
        // Exactly as large as its bytes, so that a sanitizer sees a read behind them.
        const std::vector<char> bytes(r.table.begin(), r.table.end());
        EXPECT_EQ(cl::smbios_items(std::as_bytes(std::span(bytes))), r.items) << r.name;
    }
}

TEST(smbios, rounds) {
    run_seeds(200, smbios_round);
}

} // namespace
