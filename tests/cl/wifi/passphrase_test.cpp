#include "cl/wifi/passphrase.hpp"

#include <gtest/gtest.h>
#include <memory>
#include <string_view>

namespace {

using bytes = std::vector<std::uint8_t>;

TEST(hex_bytes, digits_in_either_case_and_whatever_else) {
    EXPECT_EQ(cl::hex_bytes(""), bytes{});
    EXPECT_EQ(cl::hex_bytes("0"), bytes{});
    EXPECT_EQ(cl::hex_bytes("123"), bytes{});
    EXPECT_EQ(cl::hex_bytes("007f80FFfaAf"), (bytes{0x00, 0x7F, 0x80, 0xFF, 0xFA, 0xAF}));
    EXPECT_EQ(cl::hex_bytes("0123456789abcdef"), cl::hex_bytes("0123456789ABCDEF"));
    // By hand: 'g' counts as 16 in the high place and as 0 in the low one; '/' is one less than '0'.
    EXPECT_EQ(cl::hex_bytes("0gg01/\xE4\xE4"), (bytes{0x00, 0x00, 0x0F, 0xDD}));
    for (int i = 0; i < 256; ++i) {
        char text[3];
        std::snprintf(text, sizeof text, i % 2 ? "%02x" : "%02X", i);
        EXPECT_EQ(cl::hex_bytes(text), bytes{static_cast<std::uint8_t>(i)});
    }
}

TEST(passphrase, nothing_of_it_stays_in_memory) {
    for (const std::size_t length : {0u, 1u, 8u, 15u, 16u, 63u}) {
        SCOPED_TRACE(length);
        std::string text(length, 'x');
        text.resize(length / 2); // the rest stays behind the end
        const char* const buffer = text.data();
        const std::size_t capacity = text.capacity();
        cl::wipe(text);
        EXPECT_EQ(text, "");
        ASSERT_EQ(text.data(), buffer);
        ASSERT_EQ(text.capacity(), capacity);
        text.resize(capacity, '\0');
        EXPECT_EQ(text.find('x'), std::string::npos);
    }
    // A short text lies in the object itself.
    alignas(cl::passphrase) unsigned char place[sizeof(cl::passphrase)]{};
    auto* const secret = new (place) cl::passphrase;
    secret->text = "eleven more";
    std::destroy_at(secret);
    // A whole word: one byte alone may also be part of an address that the object held.
    const std::string_view left(reinterpret_cast<const char*>(place), sizeof place);
    EXPECT_EQ(left.find("elev"), left.npos);
}

} // namespace
