#include "cl/sys/md5.hpp"

#include <bit>
#include <cstddef>

namespace cl {

namespace {

constexpr std::size_t block_bytes = 64;

using state = std::array<std::uint32_t, 4>;

// floor(2^32 * abs(sin(i + 1))).
constexpr std::uint32_t sines[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

// Rotations of the four rounds.
constexpr int rotations[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

void mix(state& s, const char* block) {
    std::uint32_t words[16];
    for (int i = 0; i < 16; ++i) {
        words[i] = 0;
        for (int b = 4; b-- > 0;)
            words[i] = words[i] << 8 | static_cast<std::uint8_t>(block[4 * i + b]);
    }
    auto [a, b, c, d] = s;
    for (int i = 0; i < 64; ++i) {
        std::uint32_t f = 0;
        int word = 0;
        switch (i / 16) {
        case 0:
            f = (b & c) | (~b & d);
            word = i;
            break;
        case 1:
            f = (d & b) | (~d & c);
            word = 5 * i + 1;
            break;
        case 2:
            f = b ^ c ^ d;
            word = 3 * i + 5;
            break;
        default:
            f = c ^ (b | ~d);
            word = 7 * i;
        }
        f += a + sines[i] + words[word % 16];
        a = d;
        d = c;
        c = b;
        b += std::rotl(f, rotations[i / 16][i % 4]);
    }
    s[0] += a;
    s[1] += b;
    s[2] += c;
    s[3] += d;
}

} // namespace

md5_digest md5(std::string_view text) {
    state s = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
    const std::uint64_t bits = std::uint64_t{text.size()} * 8;
    for (; text.size() >= block_bytes; text.remove_prefix(block_bytes))
        mix(s, text.data());

    // The rest, a one bit, zeros, and the length in the last eight bytes.
    std::string rest(text);
    rest += '\x80';
    while (rest.size() % block_bytes != block_bytes - 8)
        rest += '\0';
    for (int i = 0; i < 8; ++i)
        rest += static_cast<char>(bits >> 8 * i & 0xFF);
    for (std::size_t at = 0; at < rest.size(); at += block_bytes)
        mix(s, rest.data() + at);

    md5_digest digest;
    for (std::size_t i = 0; i < digest.size(); ++i)
        digest[i] = static_cast<std::uint8_t>(s[i / 4] >> 8 * (i % 4));
    return digest;
}

std::string md5_text(const md5_digest& digest) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : digest) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

} // namespace cl
