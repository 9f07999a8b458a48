// The log file. Text from any thread goes into a ring in memory; the thread of a timer writes it out a moment
// later, through a handle that is open only while it writes, so that other programs may read, move or delete
// the file in between. When the file grows beyond a limit, it becomes the one old generation.
//
// A caller's path is one lock, the local time and a few copies; it comes to the disk only when it fills the
// ring to `flush_at`. Nothing here fails or reports an error: text waits in the ring while the file can't be
// written, and when the ring is full its oldest bytes go and a mark, "buffer overflow", shows in the log.
#pragma once

#include "cl/file/file_hnd.hpp"
#include "cl/log/line_stamp.hpp"
#include "cl/log/trace_ring.hpp"
#include "cl/os/mutex.hpp"
#include "cl/time/passive_timer.hpp"
#include "cl/trace/trace_list.hpp"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace cl {

// Any thread may call any function. While `busy` is set one thread works on the file without the lock; until
// it is done no second flush starts, the ring is not replaced, and only that thread moves the ring's read
// index.
class file_trace : public trace_base {
public:
    // Allocates nothing. `host` calls the flusher and outlives this object; without one, or while it isn't
    // ready, each text with `flush` goes to the disk at once.
    explicit file_trace(passive_timer* host);
    ~file_trace() override;
    file_trace(const file_trace&) = delete;
    file_trace& operator=(const file_trace&) = delete;

    // The narrow form. Each line of the text gets a stamp in front, all the same one, and CR LF at its end; a
    // text without a line feed at its end is continued by the next. With `flush` false the text only goes
    // into the ring, as it is.
    using trace_base::write;
    void write(const char* text, bool flush) override;
    // Writes out what the ring holds, unless another thread is doing so. With `again` the log may be rotated,
    // and what could not be written is tried again later.
    void flush(bool again) override;
    bool is_async() override;

    // Where the log is written; without a path the text waits in the ring.
    void set_path(const std::wstring& new_path);
    // After a flush that leaves the log larger than max_file_size bytes it is renamed to new_old_path, and
    // what was there is deleted. With an empty path the log is never rotated.
    void set_old_path(const std::wstring& new_old_path, std::uint64_t max_file_size);
    // The ring's first and largest size, and the bytes at which a writer flushes by itself. A largest size of
    // 0 turns the log off. With `apply` the ring is brought to the new limits now; a ring with text in it is
    // not made smaller.
    void set_buffer(std::int32_t min, std::int32_t max, std::int32_t new_flush_at, bool apply);
    // Whether lines bear the time of day, and its milliseconds.
    void set_stamps(bool time, bool ms);
    // Whether each text goes to the disk, past the system's cache, before write returns.
    void set_write_through(bool on);

    // Rotates the log now if it has `limit` bytes or more.
    void rotate_if_larger(std::uint32_t limit);
    // Frees the ring if it is empty; with `force` also what it holds. The latter waits for a flush under way,
    // so it is not for on_open and on_close.
    void discard(bool force);

    // The end of the process, in this order, each on the one thread that ends it. All of them bear with the
    // death of every other thread: they then do what needs no lock that a dead thread holds. Writes
    // everything out and cancels the timer; the log goes on taking text.
    void finish();
    // The destructor's body, for an object that other threads may still call: writes everything out, refuses
    // all further text, and frees the ring.
    void shut_down();
    // The last resort, for an object that was never shut down.
    void close_now();

protected:
    // Called around each flush, on the flushing thread and without the lock; `guard` can take it for a while.
    // A subclass may write a header or trailer. on_open moves to the end of the file.
    virtual void on_open(mutex_auto& guard, file_hnd& file);
    virtual void on_close(mutex_auto& guard, file_hnd& file);

    // Lines end in CR LF rather than in a line feed. To be changed by a subclass's constructor alone.
    bool crlf = true;

private:
    // What a flush needs of the settings, as they were when it began. Shared, because a copy of the texts
    // would take heap at the very end of the process, where a dead thread may hold the heap's lock.
    struct log_files {
        std::wstring path;
        std::wstring old_path;
        std::uint64_t max_file_size = 0;
    };
    template <class Change>
    void change_files(Change change);

    void make_stamp();
    enum class line_end : std::uint8_t { none, lf, crlf }; // the values are the endings' lengths
    void append_line(std::string_view body, line_end ending);
    line_end ending_of(const char* text, const char* feed) const;
    void append_lines(std::string_view text, const char* feed);
    bool is_roomy(std::int64_t n) const;
    bool make_room(mutex_auto& guard, std::int64_t n, bool flush);
    void grow(mutex_auto& guard);
    bool can_grow() const;

    void flush_locked(mutex_auto& guard, bool again);
    std::uint32_t write_out(mutex_auto& guard, bool again);
    void write_ring(mutex_auto& guard, file_hnd& file);
    void rotate(mutex_auto& guard, file_hnd& file, const log_files& names);

    bool host_runs() const;
    bool host_alive() const;
    void arm(mutex_auto& guard, std::uint32_t delay);
    void cancel();
    void on_timer();
    bool lock_at_end(mutex_auto& guard);

    // `lock` guards all fields; the atomic ones are also read without it.
    trace_ring ring;
    line_stamp stamp{default_stamp_format};
    std::int32_t flush_at = 1024;
    std::int32_t min_size = 4096;
    std::atomic<std::int32_t> max_size{32768};
    mutex lock;
    std::shared_ptr<const log_files> files;
    bool has_path = false;
    std::uint64_t file_size = 0; // of the log at the last flush
    std::uint32_t open_flags;
    passive_timer* const timer_host;
    const std::atomic<bool>* const host_ready;
    timer_handle timer{};
    std::atomic<bool> armed{false};               // the timer is armed, and the flusher has not begun
    std::atomic<std::uint64_t> flusher_thread{0}; // the last that ran the flusher
    bool busy = false;
    bool at_line_start = true;
    bool with_ms = true, with_time = true;
    std::atomic<bool> closed{false};
    bool overflowed = false; // text was lost since the last mark
};

} // namespace cl
