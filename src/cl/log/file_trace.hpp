// The log file. Text from any thread goes into a ring in memory; the thread of a timer writes it out a moment
// later, through a handle that is open only while it writes, so that other programs may read, move or delete
// the file in between. When the file grows beyond a limit, it becomes the one old generation.
//
// A caller's path is one lock, the local time and a few copies; it comes to the disk only when it fills the
// ring to `flush_at`. Nothing here fails or reports an error: text waits in the ring while the file can't be
// written, and when the ring is full its oldest bytes go and a mark, "buffer overflow", shows in the log.
#pragma once

#include "cl/log/log_files.hpp"
#include "cl/log/log_lines.hpp"
#include "cl/os/mutex.hpp"
#include "cl/time/passive_timer.hpp"
#include "cl/trace/trace_list.hpp"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace cl {

// Any thread may call any function. While `busy` is set one thread works on the file without the lock; until
// it is done no second flush starts, and only that thread takes text out of the ring. The ring may grow
// meanwhile.
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

    // The end of the process, in this order, each on the one thread that ends it. They tolerate that all
    // other threads may be dead: a log whose lock a dead thread holds refuses everything from then on.
    //
    // Writes everything out and cancels the timer; the log goes on taking text.
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

    // Lines end in CR LF, or in a line feed alone. For a subclass's constructor.
    void set_crlf(bool on) { lines.set_crlf(on); }

private:
    class file_section;

    template <class Change>
    void change_files(Change change);
    bool grow(mutex_auto& guard, std::int64_t n);

    // Those that take the held lock may give it up for a while, and return with it held. Those that return a
    // delay have decided that the timer is to be armed with it (0: not), which is done without the lock.
    bool make_room(mutex_auto& guard, const log_text& text, bool flush, std::uint32_t& delay);
    std::uint32_t flush_or_wait(mutex_auto& guard);
    std::uint32_t flush_locked(mutex_auto& guard, bool again);
    bool write_out(mutex_auto& guard, bool again);
    bool write_lines(mutex_auto& guard, file_hnd& file);
    bool may_try() const;

    bool host_runs() const;
    std::uint32_t due(std::uint32_t delay);
    void arm(std::uint32_t delay);
    void cancel();
    void on_timer();
    bool others_lost() const;
    bool lock_at_end(mutex_auto& guard);

    // `lock` guards all fields; the atomic ones are also read without it.
    log_lines lines;
    std::int32_t flush_at = 1024;
    mutex lock;
    std::shared_ptr<const log_files> files; // as they were when a flush began, for its whole length
    bool has_path = false;
    bool write_through = false;
    std::uint64_t file_size = 0; // of the log at the last flush
    passive_timer* const timer_host;
    timer_handle timer{};
    std::atomic<bool> armed{false};               // the timer is armed, and the flusher has not begun
    std::atomic<std::uint64_t> flusher_thread{0}; // the last that ran the flusher
    bool busy = false;
    bool failed = false;           // the last flush could not open or write the file
    std::uint32_t failed_tick = 0; // when that was
    std::atomic<bool> off{false};  // the ring's largest size is 0
    std::atomic<bool> closed{false};
    std::atomic<bool> lost{false}; // a thread died with the lock
};

} // namespace cl
