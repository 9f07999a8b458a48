#include "cl/log/log_lines.hpp"

#include "cl/os/clock.hpp"

#include <algorithm>

namespace cl {

namespace {

constexpr std::string_view mark = "\r\nbuffer overflow\r\n", mark_lf = "\nbuffer overflow\n";

// The most that goes to the file in one call, so that the room of what is written is free for new text soon.
constexpr std::size_t write_limit = 0x40000;

} // namespace

// After each change of the ring's size, the limits and `overflowed`.
void log_lines::changed() {
    easy_until = overflowed || is_small() ? 0 : std::int64_t{ring.buf_size} * 7 / 8;
}

void log_lines::set_limits(std::int32_t min, std::int32_t max) {
    min_size = min;
    max_size = max;
    changed();
}

void log_lines::set_stamps(bool time, bool ms) {
    with_time = time;
    with_ms = ms;
    stamp.forget();
}

void log_lines::make_stamp() {
    if (with_time)
        stamp.make(os::now_local(), with_ms);
    else
        stamp.make();
}

std::int64_t log_lines::size_of(log_text text) {
    auto size = static_cast<std::int64_t>(text.all.size()) + (overflowed ? mark_room : 0);
    if (!with_time && !crlf)
        return size;
    make_stamp();
    const auto per_line = static_cast<std::int64_t>(stamp.text().size());
    if (at_line_start && !text.all.empty())
        size += per_line;
    for (const char* feed = text.feed; feed;) {
        const char* const next = feed + 1;
        size += ending_of(text.all.data(), feed) == line_end::crlf;
        if (*next == 0)
            break;
        size += per_line;
        feed = std::strchr(next, '\n');
    }
    return size;
}

// ---- text

bool log_lines::append_piecewise(std::string_view body, line_end ending) {
    if ((!at_line_start || ring.append(stamp.text())) && ring.append(body) &&
        ring.append(std::string_view("\r\n").substr(2 - static_cast<std::size_t>(ending)))) {
        at_line_start = ending != line_end::none;
        return true;
    }
    lose();
    return false;
}

void log_lines::append_lines(log_text text) {
    if (!with_time && !crlf) {
        if (!ring.append(text.all))
            lose();
        return;
    }
    if (text.all.empty())
        return;
    make_stamp();
    const char* const begin = text.all.data();
    const char* const end = begin + text.all.size();
    const char* p = begin;
    for (const char* feed = text.feed; feed; feed = std::strchr(p, '\n')) {
        if (!append_line({p, feed}, ending_of(begin, feed)))
            return;
        p = feed + 1;
    }
    if (p != end)
        append_line({p, end}, line_end::none);
}

// ---- loss

// What comes next begins after a mark, and so at a line's start.
void log_lines::lose() {
    overflowed = true;
    at_line_start = true;
    changed();
}

bool log_lines::put_mark() {
    if (lacks_room(mark_room))
        return false;
    overflowed = !ring.append(crlf ? mark : mark_lf);
    changed();
    return true;
}

bool log_lines::make_room(std::int64_t n, bool being_written_now) {
    if (lacks_room(n)) {
        lose();
        if (being_written_now)
            return false;
        ring.drop_oldest();
    }
    return !overflowed || put_mark();
}

// ---- the file's side

std::string_view log_lines::begin_write() {
    // The place of a loss is here, whether or not another message comes.
    if (overflowed)
        put_mark();
    const std::string_view piece = ring.front().substr(0, write_limit);
    being_written = piece.empty() ? nullptr : ring.buf;
    return piece;
}

char* log_lines::end_write(std::int64_t written) {
    char* const old = being_written == ring.buf ? nullptr : being_written;
    being_written = nullptr;
    if (written > 0)
        ring.consume(static_cast<std::int32_t>(written));
    return old;
}

// ---- memory

std::int32_t log_lines::size_for(std::int64_t n) const {
    trace_ring next = ring;
    do
        next.buf_size = next.grown_size(min_size, max_size);
    while (ring.used + n >= next.buf_size && next.buf_size < max_size);
    return next.buf_size;
}

char* log_lines::replace(char* memory, std::int32_t size) {
    if (size <= ring.buf_size)
        return memory;
    char* const old = ring.replace(memory, size);
    changed();
    return old == being_written ? nullptr : old;
}

char* log_lines::shrink(char* memory) {
    char* const old = take();
    ring.buf_size = memory ? min_size : 0;
    ring.buf = memory;
    changed();
    return old;
}

char* log_lines::take() {
    char* const old = ring.take();
    changed();
    return old;
}

} // namespace cl
