#include "cl/log/line_stamp.hpp"

#include "cl/format/format.hpp"

#include <cstring>

namespace cl {

constinit stamp_format default_stamp_format{"%02?%02?%02?", "'%03?", " ", ""};

void line_stamp::make() {
    forget();
    close(0);
}

void line_stamp::change(const os::local_time& now, bool with_ms) {
    const std::uint64_t time = packed(now);
    const os::local_time& s = shown_time_;
    if (shown_ == none || now.second != s.second || now.minute != s.minute || now.hour != s.hour) {
        basic_sformat<char>(stamp, size, format_.time_format) << now.hour << now.minute << now.second;
        second_length_ = std::strlen(stamp);
    }
    shown_ = time;
    shown_time_ = now;
    std::size_t at = second_length_;
    if (with_ms) {
        basic_sformat<char>(stamp + at, size - at, format_.ms_format) << now.millisecond;
        at += std::strlen(stamp + at);
    }
    const std::size_t n = strnlen(format_.time_sep, size - 1 - at);
    std::memcpy(stamp + at, format_.time_sep, n);
    close(at + n);
}

void line_stamp::close(std::size_t at) {
    const std::size_t n = strnlen(format_.line_prefix, size - 1 - at);
    std::memcpy(stamp + at, format_.line_prefix, n);
    length_ = at + n;
    stamp[length_] = 0;
}

} // namespace cl
