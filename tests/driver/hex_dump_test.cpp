#include "driver/channel/hex_dump.hpp"

#include <gtest/gtest.h>

using vfl::hex_dump;

TEST(hex_dump, shapes) {
    const std::string all = "0123456789abcdefXYZ";
    const struct {
        const char* name;
        std::string bytes;
        std::string prefix, dump;
    } rows[] = {
        {"nothing", "", "> ", ""},
        {"a single byte has no characters", "A", "", "41\n"},
        {"two bytes", "A\x7F", "", "41 7f" + std::string(44, ' ') + "A\x7F\n"},
        {"eight bytes", all.substr(0, 8), "",
         "30 31 32 33 34 35 36 37" + std::string(26, ' ') + "01234567\n"},
        {"a full line and one byte more", all.substr(0, 17), "p:",
         "p:30 31 32 33 34 35 36 37-38 39 61 62 63 64 65 66  0123456789abcdef\n"
         "p:58" +
             std::string(47, ' ') + "X\n"},
        {"unprintable bytes", std::string("\x1F\x20\x7F\x80\xFF\n\0z", 8), "",
         "1f 20 7f 80 ff 0a 00 7a" + std::string(26, ' ') + ". \x7F....z\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(hex_dump(row.bytes.data(), static_cast<std::uint32_t>(row.bytes.size()), row.prefix),
                  row.dump);
    }
}
