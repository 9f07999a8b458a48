#include "cl/log/file_trace.hpp"

#include "cl/os/clock.hpp"
#include "cl/os/file.hpp"
#include "cl/os/sync.hpp"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace cl {

namespace {

// Flags of file_hnd::open: create, write, binary; and past the system's cache.
constexpr std::uint32_t log_open_flags = 0x8101;
constexpr std::uint32_t write_through_flag = 0x10000;
// Other programs may read the log while a flush has it open, and not write it.
constexpr std::uint32_t share_reading = 32;

// How long a text may wait in the ring, after a flush that left something, and while the file can't be
// opened.
constexpr std::uint32_t write_delay_ms = 1001;
constexpr std::uint32_t again_delay_ms = 1;
constexpr std::uint32_t retry_delay_ms = 1000;

// At the end of the process another thread's flush is waited for as long as the timer's worker would be.
constexpr int end_wait_ms = 5000;

// Stands for the `ready` of a timer where there is none.
constinit const std::atomic<bool> no_host{false};

} // namespace

file_trace::file_trace(passive_timer* host)
    : open_flags(log_open_flags), timer_host(host), host_ready(host ? &host->ready : &no_host) {}

file_trace::~file_trace() {
    shut_down();
}

// ---- settings

// Changes the names for the flushes that begin from now on.
template <class Change>
void file_trace::change_files(Change change) {
    mutex_auto guard(lock, true);
    auto names = files ? std::make_shared<log_files>(*files) : std::make_shared<log_files>();
    change(*names);
    has_path = !names->path.empty();
    files = std::move(names);
}

void file_trace::set_path(const std::wstring& new_path) {
    change_files([&](log_files& f) { f.path = new_path; });
}

void file_trace::set_old_path(const std::wstring& new_old_path, std::uint64_t max_file_size) {
    change_files([&](log_files& f) {
        f.old_path = new_old_path;
        f.max_file_size = max_file_size;
    });
}

void file_trace::set_buffer(std::int32_t min, std::int32_t max, std::int32_t new_flush_at, bool apply) {
    mutex_auto guard(lock, true);
    min_size = min;
    max_size = max;
    flush_at = new_flush_at;
    if (!apply)
        return;
    if (ring.buf_size < min && !busy)
        grow(guard);
    if (ring.buf_size <= max || ring.buf_size <= min_size || busy || ring.used > 0)
        return;
    guard.unlock();
    char* memory = trace_ring::allocate(min);
    guard.lock();
    if (!busy && ring.used < 1) {
        char* const old = ring.take();
        ring.buf_size = memory ? min : 0;
        ring.buf = std::exchange(memory, old);
    }
    guard.unlock();
    trace_ring::release(memory);
}

void file_trace::set_stamps(bool time, bool ms) {
    const mutex_auto guard(lock, true);
    with_time = time;
    with_ms = ms;
    stamp.forget();
}

void file_trace::set_write_through(bool on) {
    const mutex_auto guard(lock, true);
    open_flags = on ? open_flags | write_through_flag : open_flags & ~write_through_flag;
}

void file_trace::discard(bool force) {
    mutex_auto guard(lock, true);
    // The thread that flushes reads the ring without the lock.
    while (busy && force) {
        guard.unlock();
        os::sleep_ms(1);
        guard.lock();
    }
    if (busy || (ring.used > 0 && !force))
        return;
    char* const memory = ring.take();
    guard.unlock();
    trace_ring::release(memory);
}

// ---- the ring

void file_trace::make_stamp() {
    if (with_time)
        stamp.make(os::now_local(), with_ms);
    else
        stamp.make();
}

// A line, or a piece of one.
inline void file_trace::append_line(std::string_view body, line_end ending) {
    if (char* const start = ring.reserve(line_stamp::size + body.size() + 2)) {
        char* p = at_line_start ? stamp.copy_to(start) : start;
        std::memcpy(p, body.data(), body.size());
        p += body.size();
        if (ending == line_end::crlf)
            *p++ = '\r';
        if (ending != line_end::none)
            *p++ = '\n';
        ring.append_reserved(static_cast<std::int32_t>(p - start));
    } else {
        if (at_line_start)
            ring.append(stamp.text());
        ring.append(body);
        ring.append(std::string_view("\r\n").substr(2 - static_cast<std::size_t>(ending)));
    }
    at_line_start = ending != line_end::none;
}

// How the line that ends at a line feed of the text ends in the log.
inline file_trace::line_end file_trace::ending_of(const char* text, const char* feed) const {
    return crlf && (feed == text || feed[-1] != '\r') ? line_end::crlf : line_end::lf;
}

// `feed` is the first line feed of the text, or null.
void file_trace::append_lines(std::string_view text, const char* feed) {
    if (!with_time && !crlf) {
        ring.append(text);
        return;
    }
    if (text.empty())
        return;
    make_stamp();
    const char* const end = text.data() + text.size();
    const char* p = text.data();
    while (feed) {
        append_line({p, feed}, ending_of(text.data(), feed));
        p = feed + 1;
        if (p == end)
            return;
        feed = static_cast<const char*>(std::memchr(p, '\n', static_cast<std::size_t>(end - p)));
    }
    append_line({p, end}, line_end::none);
}

// Whether n more bytes leave an eighth of the ring free.
inline bool file_trace::is_roomy(std::int64_t n) const {
    return (ring.used + n) * 8 < std::int64_t{ring.buf_size} * 7 && ring.buf_size >= min_size;
}

bool file_trace::can_grow() const {
    return ring.buf_size < max_size && !busy;
}

void file_trace::grow(mutex_auto& guard) {
    const std::int32_t size = ring.grown_size(min_size, max_size);
    guard.unlock();
    char* memory = trace_ring::allocate(size);
    guard.lock();
    // A flush may have begun, or another thread may have made the ring as large.
    if (memory && !busy && size > ring.buf_size)
        memory = ring.replace(memory, size);
    guard.unlock();
    trace_ring::release(memory);
    guard.lock();
}

// Makes room for n more bytes, and says so in the log if text was lost. False if the new text must be given
// up, because a flush reads the oldest, which would have to go.
bool file_trace::make_room(mutex_auto& guard, std::int64_t n, bool flush) {
    if (ring.used + n >= ring.buf_size || ring.used >= flush_at)
        flush_locked(guard, flush);
    if (!is_roomy(n) && flush && can_grow())
        grow(guard);
    if (ring.used + n >= ring.buf_size) {
        overflowed = true;
        if (busy)
            return false;
        ring.drop_oldest();
    }
    if (overflowed) {
        overflowed = false;
        ring.append(crlf ? "\r\nbuffer overflow\r\n" : "\nbuffer overflow\n");
    }
    return true;
}

void file_trace::write(const char* text, bool flush) {
    if (max_size.load(std::memory_order_relaxed) == 0 || closed.load(std::memory_order_relaxed))
        return;
    // Most texts are one whole line, and then one search gives both its line feed and its length.
    const char* const feed = std::strchr(text, '\n');
    const bool is_line = feed && feed[1] == 0;
    const char* const end = is_line ? feed + 1 : text + std::strlen(text);
    mutex_auto guard(lock, true);
    const bool easy = is_roomy(end - text) && ring.used < flush_at && !overflowed;
    if (!easy && !make_room(guard, end - text, flush))
        return;
    if (is_line && with_time) {
        stamp.make(os::now_local(), with_ms);
        append_line({text, feed}, ending_of(text, feed));
    } else {
        append_lines({text, end}, feed);
    }
    if (!flush || busy || !has_path)
        return;
    const bool may_wait = ring.used < flush_at && !(open_flags & write_through_flag) &&
                          !closed.load(std::memory_order_relaxed) && host_runs();
    if (!may_wait)
        flush_locked(guard, true);
    if (!armed.load(std::memory_order_relaxed))
        arm(guard, write_delay_ms);
}

// ---- the file

void file_trace::flush(bool again) {
    mutex_auto guard(lock, true);
    flush_locked(guard, again);
}

// With the lock, which is given up for a while and taken again.
void file_trace::flush_locked(mutex_auto& guard, bool again) {
    if (!has_path || busy)
        return;
    const std::uint32_t delay = ring.used > 0 ? write_out(guard, again) : again_delay_ms;
    if (!again)
        return;
    if (ring.buf_size >= min_size) {
        arm(guard, delay);
        guard.lock();
    } else if (can_grow()) {
        grow(guard);
    }
}

// One flush of a ring that holds something. Returns the ms after which to try again if it still does.
std::uint32_t file_trace::write_out(mutex_auto& guard, bool again) {
    busy = true;
    const std::shared_ptr<const log_files> names = files;
    const std::uint32_t flags = open_flags;
    std::uint64_t size = file_size;
    guard.unlock();
    file_hnd file;
    const bool opened = file.open(names->path, flags, share_reading);
    if (opened) {
        on_open(guard, file);
        write_ring(guard, file);
        on_close(guard, file);
        size = static_cast<std::uint64_t>(file.size());
        if (size > names->max_file_size && again && !names->old_path.empty())
            rotate(guard, file, *names);
        file.close();
    }
    guard.lock();
    file_size = size;
    busy = false;
    return opened ? again_delay_ms : retry_delay_ms;
}

void file_trace::write_ring(mutex_auto& guard, file_hnd& file) {
    guard.lock();
    for (std::string_view piece = ring.front(); !piece.empty(); piece = ring.front()) {
        guard.unlock();
        const std::int64_t written = file.write(piece.data(), static_cast<std::int64_t>(piece.size()));
        guard.lock();
        if (written < 1)
            break;
        ring.consume(static_cast<std::int32_t>(written));
    }
    guard.unlock();
}

// With `busy` set and without the lock.
void file_trace::rotate(mutex_auto& guard, file_hnd& file, const log_files& names) {
    guard.lock();
    make_stamp(); // for an on_open that writes a header
    guard.unlock();
    file.close();
    os::remove_file(names.old_path.c_str());
    // The limit holds in any case: a log that can't be renamed is deleted.
    if (os::rename_file(names.path.c_str(), names.old_path.c_str()) != 0)
        os::remove_file(names.path.c_str());
}

void file_trace::rotate_if_larger(std::uint32_t limit) {
    mutex_auto guard(lock, true);
    if (busy || !has_path)
        return;
    busy = true;
    const std::shared_ptr<const log_files> names = files;
    const std::uint32_t flags = open_flags;
    std::uint64_t size = file_size;
    guard.unlock();
    file_hnd file;
    if (file.open(names->path, flags, share_reading)) {
        size = static_cast<std::uint64_t>(file.size());
        if (size >= limit && !names->old_path.empty())
            rotate(guard, file, *names);
        file.close();
    }
    guard.lock();
    file_size = size;
    busy = false;
}

void file_trace::on_open(mutex_auto&, file_hnd& file) {
    // At any other place a write would overwrite the log; a closed file takes none.
    if (file.seek(0, 2) < 0)
        file.close();
}

void file_trace::on_close(mutex_auto&, file_hnd&) {}

// ---- the timer

bool file_trace::host_runs() const {
    return host_ready->load(std::memory_order_relaxed);
}

bool file_trace::is_async() {
    return !closed.load(std::memory_order_relaxed) && host_runs();
}

// Has what the ring holds flushed after `delay` ms, unless a flush is ahead already. Gives up the lock,
// because no thread may hold it when it takes the timer's.
void file_trace::arm(mutex_auto& guard, std::uint32_t delay) {
    // The timer would leave an armed entry alone as well, for the price of its lock at each text.
    if (armed.load(std::memory_order_relaxed))
        return;
    if (ring.used < 1 || closed.load(std::memory_order_relaxed) || !host_runs())
        return;
    armed.store(true, std::memory_order_relaxed);
    guard.unlock();
    timer_host->start_once(
        &timer, [this] { on_timer(); }, delay);
}

void file_trace::on_timer() {
    // Ahead of the flush's lock, so that no text can come behind the flush and still find it ahead.
    armed.store(false, std::memory_order_relaxed);
    flusher_thread.store(os::thread_id(), std::memory_order_relaxed);
    // The last thing done here: a subclass's flush may destroy the object.
    if (!closed.load(std::memory_order_relaxed))
        flush(true);
}

void file_trace::cancel() {
    if (!host_runs())
        return;
    // The thread of the flusher can't wait for its own end.
    const bool own = flusher_thread.load(std::memory_order_relaxed) == os::thread_id();
    if (own) {
        timer_host->stop_and_forget(&timer);
    } else {
        timer_host->stop_and_wait(&timer);
        // A flusher that was under way may have armed itself again meanwhile.
        timer_host->stop_and_wait(&timer);
    }
    armed.store(false, std::memory_order_relaxed);
}

// ---- the end of the process

// Whether the other threads of the process may be alive. They are also if the timer's worker never started.
bool file_trace::host_alive() const {
    return !timer_host || !timer_host->worker_lost();
}

// Takes the lock, unless a thread that is dead by now holds it.
bool file_trace::lock_at_end(mutex_auto& guard) {
    if (!host_alive())
        return guard.try_lock();
    guard.lock();
    return true;
}

void file_trace::finish() {
    if (host_alive()) {
        flush(true);
    } else {
        mutex_auto guard(lock, false);
        if (lock_at_end(guard))
            flush_locked(guard, false);
    }
    cancel();
}

void file_trace::shut_down() {
    mutex_auto guard(lock, false);
    if (!lock_at_end(guard)) {
        closed = true;
        return;
    }
    if (!closed.exchange(true)) {
        // The ring stays while someone reads it. What that flush leaves is written here.
        for (int ms = 0; busy && host_alive() && ms < end_wait_ms; ++ms) {
            guard.unlock();
            os::sleep_ms(1);
            guard.lock();
        }
        const bool some = has_path && ring.used > 0;
        guard.unlock();
        if (some)
            flush(false);
    }
    guard.unlock();
    cancel();
    guard.lock();
    char* const memory = busy ? nullptr : ring.take();
    guard.unlock();
    trace_ring::release(memory);
}

void file_trace::close_now() {
    mutex_auto guard(lock, false);
    if (!lock_at_end(guard) || closed.load(std::memory_order_relaxed) || busy || ring.used < 1)
        return;
    closed = true;
    flush_locked(guard, false);
}

} // namespace cl
