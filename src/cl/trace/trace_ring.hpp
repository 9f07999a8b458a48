// The bytes that wait in memory for the log file: a ring that drops its oldest bytes, and the sizes that it
// grows by. Plain values without a lock; file_trace guards it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace cl {

struct trace_ring {
    char* buf = nullptr; // from allocate(); null until the first growth
    std::int32_t buf_size = 0;
    std::int32_t used = 0; // bytes held
    std::int32_t head = 0; // write index
    std::int32_t tail = 0; // read index

    // Copies as much of the text as there is room for; the rest is dropped.
    void append(std::string_view text) noexcept;
    // The same with the start, the body and the end of a line, which mostly fit in one piece.
    void append_line(std::string_view start, std::string_view body, std::string_view end) noexcept {
        const std::size_t n = start.size() + body.size() + end.size();
        if (n > static_cast<std::size_t>(std::min(buf_size - head, buf_size - used))) {
            append_pieces(start, body, end);
            return;
        }
        char* p = buf + head;
        std::memcpy(p, start.data(), start.size());
        p += start.size();
        std::memcpy(p, body.data(), body.size());
        p += body.size();
        // One or two bytes: not worth a call.
        if (end.size() == 2)
            std::memcpy(p, end.data(), 2);
        else
            std::copy(end.begin(), end.end(), p);
        head += static_cast<std::int32_t>(n);
        used += static_cast<std::int32_t>(n);
    }

    void append_pieces(std::string_view start, std::string_view body, std::string_view end) noexcept;

    // The oldest bytes, as far as they lie in one piece. Appending does not disturb them.
    std::string_view front() noexcept;
    // Gives up the n oldest bytes, at most what front() showed.
    void consume(std::int32_t n) noexcept;
    // Makes room at the cost of the oldest bytes, perhaps in the middle of a line: 1 KiB of a small ring, an
    // eighth of a larger one, and never more than half of what is held.
    void drop_oldest() noexcept;

    // The size that follows buf_size: half as large again, from min_size up to max_size.
    std::int32_t grown_size(std::int32_t min_size, std::int32_t max_size) const noexcept;
    // Moves the content in order to the start of a larger memory and makes that the ring. Returns the old
    // one.
    [[nodiscard]] char* replace(char* memory, std::int32_t size) noexcept;
    // Empties the ring and returns its memory.
    [[nodiscard]] char* take() noexcept;

    // The memory of a ring; null if there is none to be had.
    [[nodiscard]] static char* allocate(std::int32_t size) noexcept;
    static void release(char* memory) noexcept;
};

} // namespace cl
