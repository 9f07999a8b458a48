// Where a round takes its numbers from: a seed, or the bytes of a fuzzer's input. A round is a function of a
// choices& that works on one of the product's classes and on a simple model of it, and expects both to agree.
// The unit test runs it over seeds, a fuzzer over inputs, a soak over fresh seeds for as long as it likes.
#pragma once

#include <chrono>
#include <concepts>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <span>
#include <string>
#include <string_view>

class choices {
public:
    explicit choices(std::uint64_t seed) : state_(seed), seeded_(true) {}
    // The bytes in their order, which must outlive the object, and zeros behind them.
    choices(const std::uint8_t* bytes, std::size_t n) : bytes_(bytes, n) {}

    // 0 to limit - 1; limit is above 0. Of an input it takes the fewest bytes that hold limit - 1.
    template <std::integral T>
    T below(T limit) {
        const auto last = static_cast<std::uint64_t>(limit) - 1;
        if (seeded_)
            return static_cast<T>(next() % (last + 1));
        std::uint64_t value = 0;
        for (std::uint64_t rest = last; rest != 0; rest >>= 8)
            value = value << 8 | take();
        return static_cast<T>(last == ~std::uint64_t{0} ? value : value % (last + 1));
    }
    template <std::integral T>
    T between(T first, T last) {
        return static_cast<T>(first + below(last - first + 1));
    }
    // Any value of the type, small and extreme ones as often as others.
    template <std::integral T>
    T any() {
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < sizeof(T); ++i)
            bits = bits << 8 | (seeded_ ? next() & 0xFF : take());
        return static_cast<T>(seeded_ && below(4) == 0 ? std::uint64_t{0} - (bits & 3) : bits);
    }
    // Once in n times; never when an input is spent.
    bool once_in(unsigned n) { return below(n) == n - 1; }
    // One of a list, an array, a string or a vector; it isn't empty.
    template <class Range>
    auto pick(const Range& of) {
        return std::data(of)[below(std::size(of))];
    }
    template <class T>
    T pick(std::initializer_list<T> of) {
        return of.begin()[below(of.size())];
    }
    // Bytes: what is left of an input, at most `most`; with a seed any number of them.
    std::string bytes(std::size_t most) {
        std::string all(seeded_ ? below(most + 1) : std::min(most, bytes_.size()), '\0');
        for (char& c : all)
            c = static_cast<char>(any<std::uint8_t>());
        return all;
    }
    // The same as far as a zero, which an input loses.
    std::string text(std::size_t most) {
        std::string all;
        for (std::size_t left = seeded_ ? below(most + 1) : most; left > 0 && !spent(); --left) {
            const char c = static_cast<char>(any<std::uint8_t>());
            if (c == 0)
                break;
            all += c;
        }
        return all;
    }
    // Whether an input has no more to say. Never with a seed: a loop needs a limit of its own.
    bool spent() const { return !seeded_ && bytes_.empty(); }

private:
    // The generator "splitmix64": good enough from any seed, and the same on every system.
    std::uint64_t next() {
        std::uint64_t z = state_ += 0x9E3779B97F4A7C15;
        z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
        z = (z ^ z >> 27) * 0x94D049BB133111EB;
        return z ^ z >> 31;
    }
    std::uint8_t take() {
        if (bytes_.empty())
            return 0;
        const std::uint8_t byte = bytes_.front();
        bytes_ = bytes_.subspan(1);
        return byte;
    }

    std::span<const std::uint8_t> bytes_;
    std::uint64_t state_ = 0;
    bool seeded_ = false;
};

// Runs the round with the seeds from 0 to count - 1, and in a soak (VFL_STRESS_SECONDS) with fresh ones until
// the time is over. Ends with the first that fails; VFL_SEED runs that one again, alone.
template <class Round>
void run_seeds(std::uint64_t count, Round round) {
    const auto run = [&](std::uint64_t seed) {
        SCOPED_TRACE("VFL_SEED=" + std::to_string(seed));
        choices numbers(seed);
        round(numbers);
        return !testing::Test::HasFailure();
    };
    if (const char* const seed = std::getenv("VFL_SEED")) {
        run(std::strtoull(seed, nullptr, 10));
        return;
    }
    for (std::uint64_t seed = 0; seed < count; ++seed)
        if (!run(seed))
            return;
    const char* const seconds = std::getenv("VFL_STRESS_SECONDS");
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::seconds(seconds ? std::atoi(seconds) : 0);
    for (std::uint64_t seed = std::uint64_t{std::random_device()()} << 32;
         std::chrono::steady_clock::now() < end && run(seed); ++seed) {
    }
}
