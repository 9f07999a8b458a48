// The windows-1252 side of the seam: both systems must agree on it.
#include "cl/os/text.hpp"

#include <gtest/gtest.h>
#include <string>

TEST(os_text, both_code_pages) {
    for (int b = 1; b < 256; ++b) {
        const char byte = static_cast<char>(b);
        wchar_t wide[2] = {};
        char back[2] = {};
        EXPECT_EQ(cl::os::to_utf16(0, &byte, 1, wide, 2), 1u) << b;
        EXPECT_EQ(cl::os::from_utf16(0, wide, 1, back, 2), 1u) << b;
        EXPECT_EQ(back[0], byte) << b;
    }
    const std::wstring euro = L"a\u20AC\u4E2D";
    char bytes[3], oem[4 * 4 + 1];
    EXPECT_EQ(cl::os::from_utf16(0, euro.data(), 3, nullptr, 0), 3u);
    EXPECT_EQ(cl::os::from_utf16(0, euro.data(), 3, bytes, 2), 0u) << "too small a buffer is a failure";
    ASSERT_EQ(cl::os::from_utf16(0, euro.data(), 3, bytes, 3), 3u);
    EXPECT_EQ(std::string(bytes, 3), "a\x80?");
    EXPECT_EQ(cl::os::to_utf16(0, "", 0, nullptr, 0), 0u);
    cl::os::ansi_to_oem("\xE4\xDF-", oem);
    EXPECT_STREQ(oem, "\x84\xE1-");
}
