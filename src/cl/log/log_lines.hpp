// The lines that wait for the log file, in a ring of memory: each with a stamp in front and CR LF at its end,
// and a mark, "buffer overflow", wherever text was lost. Plain values without a lock; file_trace guards them.
#pragma once

#include "cl/log/line_stamp.hpp"
#include "cl/log/trace_ring.hpp"

#include <cstdint>
#include <cstring>
#include <string_view>

namespace cl {

// A message, with what one look at it shows.
struct log_text {
    explicit log_text(const char* text) {
        // Most messages are one whole line: then one search gives both its line feed and its length.
        feed = std::strchr(text, '\n');
        is_line = feed && feed[1] == 0;
        all = {text, is_line ? static_cast<std::size_t>(feed + 1 - text) : std::strlen(text)};
    }
    std::string_view all;
    const char* feed; // the first line feed, or null
    bool is_line;     // one line feed, at the end
};

class log_lines {
public:
    void set_limits(std::int32_t min, std::int32_t max);
    void set_stamps(bool time, bool ms);
    void set_crlf(bool on) { crlf = on; }
    // Makes the stamp of this moment, which all lines of a message bear.
    void make_stamp();

    std::int32_t used() const { return ring.used; }
    std::int32_t size() const { return ring.buf_size; }
    bool is_small() const { return ring.buf_size < min_size; }
    bool can_grow() const { return ring.buf_size < max_size; }
    // Whether there is anything for the file: text, or a mark that can be made.
    bool has_output() const { return ring.used > 0 || (overflowed && ring.buf_size > mark_room); }

    // Whether a message that is one line fits at once, with no look at anything else.
    bool takes_easily(const log_text& text) const {
        return text.is_line &&
               ring.used + static_cast<std::int64_t>(text.all.size()) + line_overhead < easy_until;
    }
    // The bytes that a message takes, with its stamps and line ends and a mark that is due.
    std::int64_t size_of(log_text text);
    // Whether n more bytes leave an eighth of the ring free.
    bool is_roomy(std::int64_t n) const {
        return (ring.used + n) * 8 < std::int64_t{ring.buf_size} * 7 && !is_small();
    }
    bool lacks_room(std::int64_t n) const { return ring.used + n >= ring.buf_size; }
    // Makes room for n bytes at the cost of the oldest text, and makes the mark that is due. False if the
    // message must be given up instead, because the oldest text is being written.
    bool make_room(std::int64_t n, bool being_written);
    // Appends a message, as far as it fits.
    void append(const log_text& text) {
        if (text.is_line && with_time)
            append_whole(text.all);
        else
            append_lines(text);
    }

    // The next piece for the file; empty when all is written. It stays where it is until end_write, which
    // takes the number of bytes written and returns memory for the caller to release.
    std::string_view begin_write();
    [[nodiscard]] char* end_write(std::int64_t written);

    // The next size of the ring, for n more bytes.
    std::int32_t size_for(std::int64_t n) const;
    // Makes larger memory the ring. Returns what the caller is to release: the old memory or, if the ring is
    // as large by now, the new. A piece that is being written stays where it is.
    [[nodiscard]] char* replace(char* memory, std::int32_t size);
    // Brings an empty ring down to its first size, in the memory given (none: null), and returns the old. Not
    // while a piece is being written; nor is take, which empties the ring and returns its memory.
    [[nodiscard]] char* shrink(char* memory);
    [[nodiscard]] char* take();

private:
    static constexpr std::int32_t mark_room = 20;                       // above the length of a mark
    static constexpr std::int64_t line_overhead = line_stamp::size + 2; // above a line's stamp and its CR

    enum class line_end : std::uint8_t { none, lf, crlf }; // the values are the endings' lengths
    // How the line that ends at a line feed of the text ends in the log.
    line_end ending_of(const char* text, const char* feed) const {
        return crlf && (feed == text || feed[-1] != '\r') ? line_end::crlf : line_end::lf;
    }
    // A line, or a piece of one. False if it was cut.
    bool append_line(std::string_view body, line_end ending) {
        char* const start = ring.reserve(line_stamp::size + body.size() + 2);
        if (!start)
            return append_piecewise(body, ending);
        char* p = at_line_start ? stamp.copy_to(start) : start;
        std::memcpy(p, body.data(), body.size());
        p += body.size();
        if (ending == line_end::crlf)
            *p++ = '\r';
        if (ending != line_end::none)
            *p++ = '\n';
        ring.append_reserved(static_cast<std::int32_t>(p - start));
        at_line_start = ending != line_end::none;
        return true;
    }
    bool append_piecewise(std::string_view body, line_end ending);
    // By value, so that the common path keeps the text in registers.
    void append_lines(log_text text);
    void append_whole(std::string_view line) {
        stamp.make(os::now_local(), with_ms);
        const char* const feed = line.data() + line.size() - 1;
        append_line({line.data(), feed}, ending_of(line.data(), feed));
    }
    bool put_mark();
    void changed();
    void lose();

    trace_ring ring;
    std::int64_t easy_until = 0; // as long as this much is held, no message needs more than to be appended
    line_stamp stamp{default_stamp_format};
    std::int32_t min_size = 4096;
    std::int32_t max_size = 32768;
    char* being_written = nullptr; // the memory of the piece that is
    bool at_line_start = true;
    bool with_ms = true, with_time = true;
    bool crlf = true;
    bool overflowed = false; // text was lost since the last mark
};

} // namespace cl
