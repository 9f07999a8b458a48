// What a log must do, written down once more without a ring: the text that waits is a string, and the disk
// takes as many bytes of it as it is told to.
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
    cl::os::local_time time{};
    bool overflowed = false, line_start = true, busy = false, closed = false;
    std::size_t marks = 0, lost = 0;

    std::int64_t used() const { return static_cast<std::int64_t>(held.size()); }

    void write(const std::string& text, bool flush_it) {
        if (max_size == 0 || closed)
            return;
        const auto n = static_cast<std::int64_t>(text.size());
        if (used() + n >= size || used() >= flush_at)
            flush(flush_it);
        if ((8 * (used() + n) >= 7 * size || size < min_size) && flush_it)
            grow();
        if (used() + n >= size) {
            overflowed = true;
            lost += busy;
            if (busy)
                return;
            held.erase(0, static_cast<std::size_t>(std::min(size < 8192 ? 1024 : size / 8, used() / 2)));
        }
        if (overflowed) {
            append(crlf ? "\r\nbuffer overflow\r\n" : "\nbuffer overflow\n");
            ++marks;
        }
        overflowed = false;
        append_lines(text);
        if (!has_path || !flush_it || busy)
            return;
        if (used() >= flush_at || write_through)
            flush(true);
        arm(1001);
    }

    void flush(bool again) {
        if (!has_path || busy)
            return;
        std::uint64_t delay = 1;
        if (used() > 0)
            delay = write_out(again);
        if (again && size >= min_size)
            arm(delay);
        else if (again)
            grow();
    }

    void pass_time(std::uint64_t ms) {
        now += ms;
        if (deadline && *deadline <= now) {
            deadline.reset();
            flush(true);
        }
    }

    void discard(bool force) {
        if (!held.empty() && !force)
            return;
        held.clear();
        size = 0;
    }

    void set_buffer(std::int64_t min, std::int64_t max, std::int64_t at) {
        min_size = min;
        max_size = max;
        flush_at = at;
        if (size < min)
            size = next_size();
        if (size > max && size > min && held.empty())
            size = min;
    }

    void rotate_if_larger(std::size_t bytes) {
        if (has_path && open() && log.size() >= bytes && has_old)
            rotate();
    }

private:
    // A ring that is full takes no more.
    void append(const std::string& s) { held += s.substr(0, static_cast<std::size_t>(size - used())); }

    void append_lines(const std::string& text) {
        if (!with_time && !crlf)
            return append(text);
        const auto digits = [](unsigned n, std::size_t count) {
            return std::to_string(n + 1000).substr(4 - count);
        };
        std::string stamp = digits(time.hour, 2) + digits(time.minute, 2) + digits(time.second, 2);
        stamp += (with_ms ? "-" + digits(time.millisecond, 3) : "") + " ";
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (line_start && with_time)
                append(stamp);
            line_start = text[i] == '\n';
            if (line_start && crlf && (i == 0 || text[i - 1] != '\r'))
                append("\r\n");
            else
                append({text[i]});
        }
    }

    std::int64_t next_size() const {
        const std::int64_t next = (size / 2 + 5) * 3 / 16 * 16;
        return next <= min_size ? min_size : std::max(size, std::min(next, max_size)); // never smaller
    }
    void grow() {
        if (size < max_size && !busy)
            size = next_size();
    }
    void arm(std::uint64_t delay) {
        if (!held.empty() && !deadline)
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
    std::uint64_t write_out(bool again) {
        if (!open())
            return 1000;
        const std::size_t n = std::min(held.size(), space);
        log += held.substr(0, n);
        held.erase(0, n);
        if (space != std::string::npos)
            space -= n;
        if (again && has_old && log.size() > limit)
            rotate();
        return 1;
    }
    void rotate() {
        if (space != std::string::npos)
            space += old.size();
        old = log;
        log.clear();
    }
};
