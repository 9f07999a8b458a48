// Published test vectors.
#include "cl/sys/blowfish.hpp"
#include "cl/sys/md5.hpp"

#include <gtest/gtest.h>
#include <vector>

namespace {

TEST(md5, published_vectors) {
    const std::pair<std::string, const char*> rows[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
         "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
        // The lengths at which the padding needs another block.
        {std::string(55, 'a'), "ef1772b6dff9a122358552954ad0df65"},
        {std::string(56, 'a'), "3b0c8ac703f828b04c6c197006d17218"},
        {std::string(64, 'a'), "014842d480b571495a4a0363793f7367"},
        {std::string(1000000, 'a'), "7707d6ae4e027c70eea2a935c2296f21"},
    };
    for (const auto& [text, digest] : rows)
        EXPECT_EQ(cl::md5_text(cl::md5(text)), digest) << text.substr(0, 80);
}

std::vector<std::uint8_t> unhex(const std::string& hex) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

TEST(blowfish, published_vectors) {
    struct row {
        const char* key;
        std::uint32_t plain[2], cipher[2];
    };
    const row rows[] = {
        {"0000000000000000", {0, 0}, {0x4EF99745, 0x6198DD78}},
        {"FFFFFFFFFFFFFFFF", {0xFFFFFFFF, 0xFFFFFFFF}, {0x51866FD5, 0xB85ECB8A}},
        {"3000000000000000", {0x10000000, 0x00000001}, {0x7D856F9A, 0x613063F2}},
        {"0123456789ABCDEF", {0x11111111, 0x11111111}, {0x61F9C380, 0x2281B096}},
        {"1111111111111111", {0x01234567, 0x89ABCDEF}, {0x7D0CC630, 0xAFDA1EC7}},
        {"FEDCBA9876543210", {0x01234567, 0x89ABCDEF}, {0x0ACEAB0F, 0xC6A0A28D}},
        {"7CA110454A1A6E57", {0x01A1D6D0, 0x39776742}, {0x59C68245, 0xEB05282B}},
    };
    for (const row& r : rows) {
        std::uint32_t left = r.plain[0], right = r.plain[1];
        cl::blowfish(unhex(r.key)).encipher(left, right);
        EXPECT_EQ(left, r.cipher[0]) << r.key;
        EXPECT_EQ(right, r.cipher[1]) << r.key;
    }

    std::string text("7654321 Now is the time for \0\0\0\0", 32);
    constexpr std::uint8_t initial[8] = {0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10};
    cl::blowfish(unhex("0123456789ABCDEFF0E1D2C3B4A59687")).encrypt_cbc(text, initial);
    const auto chained = unhex("6B77B4D63006DEE605B156E27403979358DEB9E7154616D959F1652BD5FF92CC");
    EXPECT_EQ(text, std::string(chained.begin(), chained.end()));
}

} // namespace
