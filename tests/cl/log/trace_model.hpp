// What a log must do, written down once more without a ring: the text that waits is a string, and the disk
// takes as many bytes of it as the test lets it.
#pragma once

#include "cl/os/clock.hpp"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

struct trace_model {
    // Faults of the disk.
    bool open_fails = false;
    std::size_t space = std::string::npos; // bytes that it still takes
    // What others write while the log is opened, for each opening to come.
    std::deque<std::vector<std::string>> meanwhile;

    std::string log, old; // the files
    std::string held;     // what waits
    std::int64_t size = 0, min_size = 4096, max_size = 32768, flush_at = 1024;
    bool has_path = false, has_old = false, write_through = false;
    bool with_time = true, with_ms = true, crlf = true;
    std::uint64_t limit = 0;
    std::uint64_t now = 0;                 // ms
    std::optional<std::uint64_t> deadline; // of the timer
    std::optional<std::uint64_t> failed;   // when the file failed last
    cl::os::local_time time{};
    bool overflowed = false, line_start = true, busy = false, closed = false;
    std::size_t marks = 0, refused = 0, cut = 0;

    void write(const std::string& text, bool flush_it) {
        if (max_size == 0 || closed)
            return;
        std::int64_t n = overflowed ? 20 : 0;
        for (const std::string& line : lines_of(text))
            n += static_cast<std::int64_t>(line.size());
        if ((used() + n >= size || used() >= flush_at) && may_try())
            flush(flush_it);
        if (flush_it && size < max_size && (8 * (used() + n) >= 7 * size || size < min_size))
            grow(n);
        if (used() + n >= size) {
            lose();
            refused += busy;
            if (busy)
                return;
            held.erase(0, static_cast<std::size_t>(std::min(size < 8192 ? 1024 : size / 8, used() / 2)));
        }
        if (!mark())
            return;
        for (const std::string& line : lines_of(text))
            if (!append(line))
                break;
        if (!has_path || !flush_it || busy)
            return;
        if ((used() >= flush_at || write_through) && may_try())
            flush(true);
        arm(1001);
    }

    void flush(bool again) {
        if (!has_path || busy)
            return;
        const bool done = !has_output() || write_out(again);
        if (again && size >= min_size)
            arm(done ? 1 : 1000);
        else if (again && size < max_size)
            grow(0);
    }

    void pass_time(std::uint64_t ms) {
        now += ms;
        if (deadline && *deadline <= now) {
            deadline.reset();
            flush(true);
        }
    }

    void discard(bool force) {
        if (has_output() && !force)
            return;
        held.clear();
        size = 0;
    }

    void set_buffer(std::int64_t min, std::int64_t max, std::int64_t at) {
        min_size = min;
        max_size = max;
        flush_at = at;
        if (size < min)
            grow(0);
        if (size > max && size > min && !has_output())
            size = min;
    }

    void rotate_if_larger(std::size_t bytes) {
        if (!has_path)
            return;
        if (open() && log.size() >= bytes && has_old)
            rotate();
        arm(1001);
    }

private:
    std::int64_t used() const { return static_cast<std::int64_t>(held.size()); }
    bool has_output() const { return !held.empty() || (overflowed && size > 20); }
    bool may_try() const { return !failed || now - *failed >= 1000; }
    void lose() { overflowed = line_start = true; }

    bool mark() {
        if (!overflowed)
            return true;
        if (used() + 20 >= size)
            return false;
        held += crlf ? "\r\nbuffer overflow\r\n" : "\nbuffer overflow\n";
        ++marks;
        overflowed = false;
        return true;
    }

    // As they go to the file; a rest without a line feed is one, too.
    std::vector<std::string> lines_of(const std::string& text) const {
        if (!with_time && !crlf)
            return {text};
        const auto digits = [](unsigned n, std::size_t count) {
            return std::to_string(n + 1000).substr(4 - count);
        };
        std::string stamp = digits(time.hour, 2) + digits(time.minute, 2) + digits(time.second, 2);
        stamp = with_time ? stamp + (with_ms ? "-" + digits(time.millisecond, 3) : "") + " " : "";
        std::vector<std::string> lines;
        for (std::size_t at = 0; at != text.size();) {
            const std::size_t feed = text.find('\n', at), end = std::min(feed, text.size() - 1) + 1;
            lines.push_back((lines.empty() && !line_start ? "" : stamp) + text.substr(at, end - at));
            if (feed != text.npos && crlf && (feed == 0 || text[feed - 1] != '\r'))
                lines.back().insert(lines.back().size() - 1, "\r");
            at = end;
        }
        return lines;
    }

    bool append(const std::string& line) {
        const std::string fits = line.substr(0, static_cast<std::size_t>(size - used()));
        held += fits;
        if (with_time || crlf)
            line_start = line.ends_with('\n');
        if (fits == line)
            return true;
        ++cut;
        lose();
        return false;
    }

    void grow(std::int64_t n) {
        do {
            const std::int64_t next = (size / 2 + 5) * 3 / 16 * 16;
            size = next <= min_size ? min_size : std::max(size, std::min(next, max_size));
        } while (used() + n >= size && size < max_size);
    }
    void arm(std::uint64_t delay) {
        if (has_output() && !deadline)
            deadline = now + delay;
    }

    bool open() {
        busy = true;
        for (const std::string& text : meanwhile.at(0))
            write(text, true);
        busy = false;
        meanwhile.pop_front();
        return !open_fails;
    }
    bool write_out(bool again) {
        failed = now;
        if (!open())
            return false;
        std::size_t n = 0;
        do {
            mark();
            n = std::min(held.size(), space);
            log += held.substr(0, n);
            held.erase(0, n);
            if (space != std::string::npos)
                space -= n;
        } while (n > 0);
        const bool done = held.empty();
        if (again && has_old && log.size() > limit)
            rotate();
        if (done)
            failed.reset();
        return done;
    }
    void rotate() {
        if (space != std::string::npos)
            space += old.size();
        old = log;
        log.clear();
    }
};
