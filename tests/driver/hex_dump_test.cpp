#include "driver/hex_dump.hpp"

#include <gtest/gtest.h>

TEST(hex_dump, shapes) {
    const std::string all = "0123456789abcdefXYZ", half(26, ' ');
    const struct {
        std::string bytes, prefix, dump;
    } rows[] = {
        {"", "> ", ""},
        {"A", "", "41\n"}, // a single byte has no characters
        {"A\x7F", "", "41 7f" + std::string(44, ' ') + "A\x7F\n"},
        {all.substr(0, 8), "", "30 31 32 33 34 35 36 37" + half + "01234567\n"},
        {all.substr(0, 17), "p:",
         "p:30 31 32 33 34 35 36 37-38 39 61 62 63 64 65 66  0123456789abcdef\np:58" + std::string(47, ' ') +
             "X\n"},
        {std::string("\x1F\x20\x7F\x80\xFF\n\0z", 8), "", "1f 20 7f 80 ff 0a 00 7a" + half + ". \x7F....z\n"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(vfl::hex_dump(row.bytes.data(), static_cast<std::uint32_t>(row.bytes.size()), row.prefix),
                  row.dump);
}
