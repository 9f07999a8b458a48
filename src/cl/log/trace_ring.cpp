#include "cl/log/trace_ring.hpp"

#include <cstdlib>
#include <utility>

namespace cl {

bool trace_ring::append(std::string_view text) noexcept {
    const auto room = static_cast<std::size_t>(buf_size) - static_cast<std::size_t>(used);
    auto left = static_cast<std::int32_t>(std::min(text.size(), room));
    const char* from = text.data();
    while (left > 0) {
        if (head >= buf_size)
            head = 0;
        const std::int32_t n = std::min(left, buf_size - head);
        std::memcpy(buf + head, from, static_cast<std::size_t>(n));
        head += n;
        used += n;
        from += n;
        left -= n;
    }
    return text.size() <= room;
}

std::string_view trace_ring::front() noexcept {
    if (used <= 0)
        return {};
    if (tail >= buf_size)
        tail = 0;
    return {buf + tail, static_cast<std::size_t>(std::min(used, buf_size - tail))};
}

void trace_ring::consume(std::int32_t n) noexcept {
    used -= n;
    tail += n;
}

void trace_ring::drop_oldest() noexcept {
    const std::int32_t n = std::min(buf_size < 8192 ? 1024 : buf_size / 8, used / 2);
    used -= n;
    tail += n;
    if (tail >= buf_size)
        tail -= buf_size;
}

std::int32_t trace_ring::grown_size(std::int32_t min_size, std::int32_t max_size) const noexcept {
    // In 64 bits, because sizes above two thirds of the range would wrap.
    const std::int64_t size = ((std::int64_t{buf_size} / 2 + 5) * 3) & ~std::int64_t{15};
    return size <= min_size ? min_size : static_cast<std::int32_t>(std::min<std::int64_t>(size, max_size));
}

char* trace_ring::replace(char* memory, std::int32_t size) noexcept {
    const std::int32_t held = used;
    std::int32_t at = 0;
    while (used > 0) {
        const std::string_view piece = front();
        std::memcpy(memory + at, piece.data(), piece.size());
        at += static_cast<std::int32_t>(piece.size());
        consume(static_cast<std::int32_t>(piece.size()));
    }
    char* const old = std::exchange(buf, memory);
    buf_size = size;
    used = held;
    tail = 0;
    head = held;
    return old;
}

char* trace_ring::take() noexcept {
    return std::exchange(*this, trace_ring{}).buf;
}

char* trace_ring::allocate(std::int32_t size) noexcept {
    return size > 0 ? static_cast<char*>(std::malloc(static_cast<std::size_t>(size))) : nullptr;
}

void trace_ring::release(char* memory) noexcept {
    std::free(memory);
}

} // namespace cl
