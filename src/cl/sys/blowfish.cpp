#include "cl/sys/blowfish.hpp"

#include <utility>

namespace cl {

namespace {

// Four bytes, highest first.
template <class Byte>
std::uint32_t load(const Byte* bytes) {
    std::uint32_t word = 0;
    for (int i = 0; i < 4; ++i)
        word = word << 8 | static_cast<std::uint8_t>(bytes[i]);
    return word;
}

void store(char* bytes, std::uint32_t word) {
    for (int i = 4; i-- > 0; word >>= 8)
        bytes[i] = static_cast<char>(word & 0xFF);
}

} // namespace

blowfish::blowfish(std::span<const std::uint8_t> key) : box_(pi) {
    std::size_t at = 0;
    for (std::uint32_t& p : box_.p) {
        std::uint32_t word = 0;
        for (int i = 0; i < 4; ++i, at = (at + 1) % key.size())
            word = word << 8 | key[at];
        p ^= word;
    }
    std::uint32_t left = 0, right = 0;
    const auto refill = [&](std::span<std::uint32_t> words) {
        for (std::size_t i = 0; i < words.size(); i += 2) {
            encipher(left, right);
            words[i] = left;
            words[i + 1] = right;
        }
    };
    refill(box_.p);
    for (auto& s : box_.s)
        refill(s);
}

void blowfish::encipher(std::uint32_t& left, std::uint32_t& right) const {
    for (int i = 0; i < rounds; ++i) {
        left ^= box_.p[i];
        right ^= ((box_.s[0][left >> 24] + box_.s[1][left >> 16 & 0xFF]) ^ box_.s[2][left >> 8 & 0xFF]) +
                 box_.s[3][left & 0xFF];
        std::swap(left, right);
    }
    std::swap(left, right);
    right ^= box_.p[rounds];
    left ^= box_.p[rounds + 1];
}

void blowfish::encrypt_cbc(std::string& text, std::span<const std::uint8_t, block_bytes> initial) const {
    std::uint32_t left = load(initial.data()), right = load(initial.data() + 4);
    for (std::size_t at = 0; at + block_bytes <= text.size(); at += block_bytes) {
        char* const block = text.data() + at;
        left ^= load(block);
        right ^= load(block + 4);
        encipher(left, right);
        store(block, left);
        store(block + 4, right);
    }
}

} // namespace cl
