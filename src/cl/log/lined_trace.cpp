#include "cl/log/lined_trace.hpp"

#include <algorithm>
#include <cstring>

namespace cl {

lined_trace::lined_trace(const char* name) : text_{} {
    const std::size_t n = name ? strnlen(name, prefix_size) : 0;
    if (n != 0)
        start = static_cast<const char*>(std::memcpy(line - n, name, n));
}

void lined_trace::write(const char* text, bool) {
    if (*text == 0 || lost.load(std::memory_order_relaxed))
        return;
    const mutex_auto guard(lock, true);
    std::size_t left = std::strlen(text);
    while (left != 0) {
        const auto n = std::min(left, static_cast<std::size_t>(max_line - line_len));
        std::memcpy(line + line_len, text, n);
        line_len += static_cast<std::int32_t>(n);
        line[line_len] = 0;
        text += n;
        left -= n;
        emit_complete_lines();
        if (line_len < max_line)
            continue;
        line[line_len] = '\n';
        line[line_len + 1] = 0;
        emit(start);
        line_len = 0;
        // The true ending of a line of just this length must not give an empty line.
        for (const char ending : {'\r', '\n'})
            if (left != 0 && *text == ending) {
                ++text;
                --left;
            }
    }
}

void lined_trace::emit_complete_lines() {
    while (auto* feed = static_cast<char*>(std::memchr(line, '\n', static_cast<std::size_t>(line_len)))) {
        const char* const rest = feed + 1;
        if (feed != line && feed[-1] == '\r')
            *--feed = '\n';
        // The character after the line feed makes room for the terminator while the line is out.
        char* const end = feed + 1;
        const char kept = *end;
        *end = 0;
        emit(start);
        *end = kept;
        line_len -= static_cast<std::int32_t>(rest - line);
        std::memmove(line, rest, static_cast<std::size_t>(line_len) + 1);
    }
}

void lined_trace::emit_rest() {
    if (line_len == 0)
        return;
    line[line_len] = 0;
    emit(start);
    line_len = 0;
}

void lined_trace::flush(bool) {
    if (lost.load(std::memory_order_relaxed))
        return;
    const mutex_auto guard(lock, true);
    emit_rest();
}

void lined_trace::flush_at_end() {
    mutex_auto guard(lock, false);
    if (guard.try_lock())
        emit_rest();
}

void lined_trace::give_up_dead_lock() {
    mutex_auto guard(lock, false);
    lost = !guard.try_lock();
}

} // namespace cl
