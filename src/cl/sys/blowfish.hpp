// The Blowfish cipher, as much of it as the seeds need.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace cl {

class blowfish {
public:
    static constexpr std::size_t block_bytes = 8;

    // `key` has 4 to 56 bytes.
    explicit blowfish(std::span<const std::uint8_t> key);

    // Enciphers one block, given as its two big-endian halves.
    void encipher(std::uint32_t& left, std::uint32_t& right) const;

    // Encrypts the text in place by cipher block chaining. Its size is a multiple of block_bytes; what is
    // beyond the last whole block stays as it is.
    void encrypt_cbc(std::string& text, std::span<const std::uint8_t, block_bytes> initial) const;

private:
    static constexpr int rounds = 16;
    struct boxes {
        std::uint32_t p[rounds + 2];
        std::uint32_t s[4][256];
    };
    // The start of every key: the fraction of pi.
    static const boxes pi;

    boxes box_;
};

} // namespace cl
