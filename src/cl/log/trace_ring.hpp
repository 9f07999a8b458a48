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

    // Copies as much of the text as there is room for. False if the rest had to be dropped.
    [[nodiscard]] bool append(std::string_view text) noexcept;
    // Room for n bytes in one piece, to be filled and then taken with append_reserved; null if there is none.
    char* reserve(std::size_t n) noexcept {
        return n <= static_cast<std::size_t>(std::min(buf_size - head, buf_size - used)) ? buf + head
                                                                                         : nullptr;
    }
    void append_reserved(std::int32_t n) noexcept {
        head += n;
        used += n;
    }

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
