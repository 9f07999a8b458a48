// Sinks that take whole lines: the text is gathered until a line is complete, and each line is handed on with
// a name in front of it.
#pragma once

#include "cl/os/mutex.hpp"
#include "cl/trace/trace_list.hpp"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace cl {

// Any thread may write. Text of two threads is never mixed within one call, but partial lines of different
// threads share the line buffer and may join. Allocates nothing.
class lined_trace : public trace_base {
public:
    // The first 16 characters of the name stand in front of every line; null is an empty name.
    explicit lined_trace(const char* name);
    lined_trace(const lined_trace&) = delete;
    lined_trace& operator=(const lined_trace&) = delete;

    using trace_base::write;
    // Emits every line that is complete, its ending as a bare line feed, and keeps the rest for the next
    // call. A line above 254 characters is broken into pieces of 254, each with a line feed. `flush` is not
    // looked at.
    void write(const char* text, bool flush) override;
    // Emits a partial line as it stands.
    void flush(bool again) override;

    // For the end of the process, when all other threads are dead: if one of them died while it held the
    // lock, this sink takes no more text.
    void give_up_dead_lock();

protected:
    // Emits a partial line, unless another thread is inside, dead or alive.
    void flush_at_end();
    // Takes the name and one line, zero-terminated. Called with `lock` held, so it must not write to this
    // sink.
    virtual void emit(const char* text) = 0;

private:
    // What the debugger takes in one piece, without the line feed.
    static constexpr std::int32_t max_line = 254;
    static constexpr std::size_t prefix_size = 16;

    void emit_complete_lines();
    void emit_rest();

    // The name ends where the line begins, so that one pointer gives both.
    char text_[prefix_size + max_line + 2];
    char* const line = text_ + prefix_size;
    std::int32_t line_len = 0;
    mutex lock;
    std::atomic<bool> lost{false}; // a thread died with the lock
    const char* start = line;
};

} // namespace cl
