// The text at the start of each line of the log: the time of day, and a prefix.
#pragma once

#include "cl/os/clock.hpp"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace cl {

// How a stamp is written. The texts are literals or live as long as every stamp made with them.
struct stamp_format {
    const char* time_format; // for hour, minute and second
    const char* ms_format;   // for the millisecond
    const char* time_sep;    // between the time and the line
    const char* line_prefix; // after all this
};

// What a new file_trace takes over. An executable that wants another form changes this before it makes one.
extern stamp_format default_stamp_format;

// Belongs to one thread at a time.
class line_stamp {
public:
    static constexpr std::size_t size = 32; // with the terminator; what does not fit is cut

    explicit line_stamp(const stamp_format& format) : format_(format) {}

    // The stamp without a time.
    void make();
    // As long as the time is the same, with_ms must be, unless forget was called.
    void make(const os::local_time& now, bool with_ms) {
        // Formatting costs far more than the test whether anything has changed.
        if (packed(now) != shown_)
            change(now, with_ms);
    }

    void forget() { shown_ = none; }

    std::string_view text() const { return {stamp, length_}; }
    // Copies the text to `size` bytes, what is after it included, and returns its end.
    char* copy_to(char* p) const {
        std::memcpy(p, stamp, size);
        return p + length_;
    }

private:
    // Hour, minute, second and millisecond side by side in one number, for a test of equality; no time is
    // `none`.
    static constexpr std::uint64_t none = ~std::uint64_t{0};
    static std::uint64_t packed(const os::local_time& t) {
        return std::uint64_t{t.hour} << 48 | std::uint64_t{t.minute} << 32 | std::uint64_t{t.second} << 16 |
               t.millisecond;
    }

    void change(const os::local_time& now, bool with_ms);
    void close(std::size_t at);

    char stamp[size] = {};
    std::size_t length_ = 0;
    stamp_format format_;
    // What the text shows.
    std::uint64_t shown_ = none;
    os::local_time shown_time_{};
    std::size_t second_length_ = 0; // hour, minute and second as formatted
};

} // namespace cl
