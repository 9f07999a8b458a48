// Published test vectors.
#include "cl/sys/blowfish.hpp"
#include "cl/sys/md5.hpp"

#include <gtest/gtest.h>

namespace {

TEST(digest, published_vectors) {
    const std::pair<std::string, const char*> rows[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        // The lengths at which the padding needs another block.
        {std::string(55, 'a'), "ef1772b6dff9a122358552954ad0df65"},
        {std::string(56, 'a'), "3b0c8ac703f828b04c6c197006d17218"},
        {std::string(1000000, 'a'), "7707d6ae4e027c70eea2a935c2296f21"},
    };
    for (const auto& [text, digest] : rows)
        EXPECT_EQ(cl::md5_text(cl::md5(text)), digest) << text.size();

    const std::vector<std::uint8_t> key = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF,
                                           0xF0, 0xE1, 0xD2, 0xC3, 0xB4, 0xA5, 0x96, 0x87};
    constexpr std::uint8_t initial[8] = {0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10};
    std::string text("7654321 Now is the time for \0\0\0\0", 32);
    cl::blowfish(key).encrypt_cbc(text, initial);
    EXPECT_EQ(text, "\x6B\x77\xB4\xD6\x30\x06\xDE\xE6\x05\xB1\x56\xE2\x74\x03\x97\x93"
                    "\x58\xDE\xB9\xE7\x15\x46\x16\xD9\x59\xF1\x65\x2B\xD5\xFF\x92\xCC");
}

} // namespace
