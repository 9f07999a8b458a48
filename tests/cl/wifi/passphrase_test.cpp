#include "cl/wifi/passphrase.hpp"

#include <gtest/gtest.h>
#include <memory>
#include <string_view>

namespace {

using bytes = std::vector<std::uint8_t>;

TEST(hex_bytes, digits_in_either_case_and_whatever_else) {
    for (const char* none : {"", "0", "123"})
        EXPECT_EQ(cl::hex_bytes(none), bytes{});
    for (int i = 0; i < 256; ++i) {
        char text[5];
        std::snprintf(text, sizeof text, "%02x%02X", i, i);
        EXPECT_EQ(cl::hex_bytes(text), bytes(2, static_cast<std::uint8_t>(i)));
    }
    // By hand: 'g' counts as 16 in the high place and as 0 in the low one; '/' is one less than '0'.
    EXPECT_EQ(cl::hex_bytes("0gg01/\xE4\xE4"), (bytes{0x00, 0x00, 0x0F, 0xDD}));
}

TEST(passphrase, nothing_of_it_stays_in_memory) {
    for (const std::size_t length : {0u, 1u, 15u, 16u, 63u}) {
        SCOPED_TRACE(length);
        std::string text(length, 'x');
        text.resize(length / 2); // the rest stays behind the end
        const std::size_t capacity = text.capacity();
        cl::wipe(text);
        EXPECT_EQ(text, "");
        ASSERT_EQ(text.capacity(), capacity);
        text.resize(capacity, '\0');
        EXPECT_EQ(text.find('x'), std::string::npos);
    }
    // A short text lies in the object itself. One byte of it may also be part of an address there.
    alignas(cl::passphrase) unsigned char place[sizeof(cl::passphrase)]{};
    auto* const secret = new (place) cl::passphrase;
    secret->text = "eleven more";
    std::destroy_at(secret);
    const std::string_view left(reinterpret_cast<const char*>(place), sizeof place);
    EXPECT_EQ(left.find("elev"), left.npos);
}

} // namespace
