// An immutable text that many holders share: a copy counts users and copies no characters.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string_view>
#include <utility>

namespace vfl {

// Its users are counted without a lock: all holders of a text belong to one thread.
template <class Ch>
class shared_text {
public:
    using view = std::basic_string_view<Ch>;

    shared_text() = default;
    explicit shared_text(view text)
        : shared_text(text.size(), [text](Ch* to) { std::copy(text.begin(), text.end(), to); }) {}
    // A text of `size` characters, which fill(Ch*) writes; at most 2^32 - 1.
    template <class Fill>
    shared_text(std::size_t size, const Fill& fill) {
        if (size == 0)
            return;
        body_ =
            new (::operator new(sizeof(body) + size * sizeof(Ch))) body{1, static_cast<std::uint32_t>(size)};
        fill(characters());
    }
    shared_text(const shared_text& other) : body_(other.body_) {
        if (body_)
            ++body_->users;
    }
    shared_text(shared_text&& other) noexcept : body_(std::exchange(other.body_, nullptr)) {}
    shared_text& operator=(shared_text other) noexcept {
        std::swap(body_, other.body_);
        return *this;
    }
    ~shared_text() {
        if (body_ && --body_->users == 0)
            ::operator delete(body_);
    }

    [[nodiscard]] bool empty() const { return !body_; }
    [[nodiscard]] std::size_t size() const { return body_ ? body_->size : 0; }
    // Valid as long as a holder lives.
    [[nodiscard]] const Ch* data() const { return body_ ? characters() : nullptr; }
    operator view() const { return {data(), size()}; }

    // Whether both hold the same copy of a text that isn't empty. Says nothing about texts that are equal.
    [[nodiscard]] bool shares(const shared_text& other) const { return body_ && body_ == other.body_; }

    friend bool operator==(const shared_text& a, const shared_text& b) { return view(a) == view(b); }
    friend bool operator==(const shared_text& a, view b) { return view(a) == b; }

private:
    // The characters follow it.
    struct body {
        std::uint32_t users;
        std::uint32_t size;
    };
    [[nodiscard]] Ch* characters() const { return reinterpret_cast<Ch*>(body_ + 1); }

    body* body_ = nullptr;
};

} // namespace vfl
