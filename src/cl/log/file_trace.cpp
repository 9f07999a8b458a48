#include "cl/log/file_trace.hpp"

#include "cl/os/clock.hpp"
#include "cl/os/sync.hpp"

#include <utility>

namespace cl {

namespace {

// How long a text may wait in the ring, after a flush that left something, and after one that failed.
constexpr std::uint32_t write_delay_ms = 1001;
constexpr std::uint32_t again_delay_ms = 1;
constexpr std::uint32_t retry_delay_ms = 1000;

// At the end of the process another thread's flush is waited for as long as the timer's worker would be.
constexpr std::uint32_t end_wait_ms = 5000;

} // namespace

// One thread's work on the file: sets `busy` and gives up the lock; at the end closes the file, takes the
// lock again and clears `busy`.
class file_trace::file_section {
public:
    file_section(file_trace& owner, mutex_auto& held) : files(owner.files), trace(owner), guard(held) {
        trace.busy = true;
        guard.unlock();
    }
    ~file_section() {
        file.close();
        guard.lock();
        if (opened)
            trace.file_size = size;
        trace.busy = false;
    }
    file_section(const file_section&) = delete;
    file_section& operator=(const file_section&) = delete;

    bool open() { return opened = files->open(file); }
    void measure() { size = static_cast<std::uint64_t>(file.size()); }
    void rotate() {
        if (!files->can_rotate())
            return;
        guard.lock();
        trace.lines.make_stamp(); // for an on_open that writes a header
        guard.unlock();
        files->rotate(file);
    }

    const std::shared_ptr<const log_files> files;
    file_hnd file;
    std::uint64_t size = 0;

private:
    file_trace& trace;
    mutex_auto& guard;
    bool opened = false;
};

file_trace::file_trace(passive_timer* host) : timer_host(host) {}

file_trace::~file_trace() {
    shut_down();
}

// ---- settings

// Changes the names for the flushes that begin from now on.
template <class Change>
void file_trace::change_files(Change change) {
    const mutex_auto guard(lock, true);
    auto changed = files ? std::make_shared<log_files>(*files) : std::make_shared<log_files>();
    change(*changed);
    has_path = !changed->path.empty();
    write_through = changed->write_through;
    failed = false;
    files = std::move(changed);
}

void file_trace::set_path(const std::wstring& new_path) {
    change_files([&](log_files& f) { f.path = new_path; });
}

void file_trace::set_old_path(const std::wstring& new_old_path, std::uint64_t max_file_size) {
    change_files([&](log_files& f) {
        f.set_old_path(new_old_path);
        f.max_size = max_file_size;
    });
}

void file_trace::set_write_through(bool on) {
    change_files([&](log_files& f) { f.write_through = on; });
}

void file_trace::set_stamps(bool time, bool ms) {
    const mutex_auto guard(lock, true);
    lines.set_stamps(time, ms);
}

void file_trace::set_buffer(std::int32_t min, std::int32_t max, std::int32_t new_flush_at, bool apply) {
    mutex_auto guard(lock, true);
    lines.set_limits(min, max);
    off = max == 0;
    flush_at = new_flush_at;
    if (!apply)
        return;
    if (lines.is_small())
        grow(guard, 0);
    const auto is_too_large = [&] {
        return lines.size() > max && lines.size() > min && !busy && !lines.has_output();
    };
    if (!is_too_large())
        return;
    guard.unlock();
    char* memory = trace_ring::allocate(min);
    guard.lock();
    if (is_too_large())
        memory = lines.shrink(memory);
    guard.unlock();
    trace_ring::release(memory);
}

void file_trace::discard(bool force) {
    mutex_auto guard(lock, true);
    // The thread that flushes reads the ring without the lock.
    while (busy && force) {
        guard.unlock();
        os::sleep_ms(1);
        guard.lock();
    }
    if (busy || (lines.has_output() && !force))
        return;
    char* const memory = lines.take();
    guard.unlock();
    trace_ring::release(memory);
}

// ---- text

// A timer whose worker could not be started takes entries, and never calls them.
inline bool file_trace::host_runs() const {
    return timer_host && timer_host->ready.load(std::memory_order_relaxed) && timer_host->is_running();
}

// Decides whether the timer is to flush what the ring holds after `delay` ms: not if it will do so anyway.
// The timer would leave an armed entry alone as well, for the price of its lock at each text.
inline std::uint32_t file_trace::due(std::uint32_t delay) {
    if (armed.load(std::memory_order_relaxed))
        return 0;
    if (!lines.has_output() || closed.load(std::memory_order_relaxed) || !host_runs())
        return 0;
    armed.store(true, std::memory_order_relaxed);
    return delay;
}

void file_trace::write(const char* text, bool flush) {
    if (off.load(std::memory_order_relaxed) || closed.load(std::memory_order_relaxed))
        return;
    const log_text message(text);
    std::uint32_t delay = 0;
    mutex_auto guard(lock, true);
    if ((lines.takes_easily(message) && lines.used() < flush_at) || make_room(guard, message, flush, delay)) {
        lines.append(message);
        // Mostly the timer is to flush it anyway.
        if (flush && !busy && has_path &&
            !(armed.load(std::memory_order_relaxed) && timer_host->ready.load(std::memory_order_relaxed) &&
              lines.used() < flush_at && !write_through))
            delay |= flush_or_wait(guard);
    }
    guard.unlock();
    if (delay != 0)
        arm(delay);
}

// What a message's writer does for it, with the timer not armed or much text waiting.
std::uint32_t file_trace::flush_or_wait(mutex_auto& guard) {
    const bool may_wait =
        lines.used() < flush_at && !write_through && !closed.load(std::memory_order_relaxed) && host_runs();
    const std::uint32_t delay = !may_wait && may_try() ? flush_locked(guard, true) : 0;
    return delay | due(write_delay_ms);
}

// False if the message must be given up.
bool file_trace::make_room(mutex_auto& guard, const log_text& text, bool flush, std::uint32_t& delay) {
    const std::int64_t n = lines.size_of(text);
    if ((lines.lacks_room(n) || lines.used() >= flush_at) && may_try())
        delay = flush_locked(guard, flush);
    if (flush && !lines.is_roomy(n))
        while (lines.can_grow() && grow(guard, n) && lines.lacks_room(n)) {
        }
    return lines.make_room(n, busy);
}

// Makes the ring larger, for n more bytes. False if there is no memory.
bool file_trace::grow(mutex_auto& guard, std::int64_t n) {
    const std::int32_t size = lines.size_for(n);
    guard.unlock();
    char* const memory = trace_ring::allocate(size);
    guard.lock();
    if (!memory)
        return false;
    // Another thread may have made the ring as large meanwhile.
    char* const spare = lines.replace(memory, size);
    guard.unlock();
    trace_ring::release(spare);
    guard.lock();
    return true;
}

// ---- the file

void file_trace::flush(bool again) {
    if (lost.load(std::memory_order_relaxed))
        return;
    mutex_auto guard(lock, true);
    const std::uint32_t delay = flush_locked(guard, again);
    guard.unlock();
    if (delay != 0)
        arm(delay);
}

std::uint32_t file_trace::flush_locked(mutex_auto& guard, bool again) {
    if (!has_path || busy)
        return 0;
    const bool done = !lines.has_output() || write_out(guard, again);
    if (!again)
        return 0;
    if (!lines.is_small())
        return due(done ? again_delay_ms : retry_delay_ms);
    if (lines.can_grow())
        grow(guard, 0);
    return 0;
}

// Whether a writer may flush by itself: not while the file is known to fail. The timer, an explicit flush and
// the end of the process always try.
bool file_trace::may_try() const {
    return !failed || os::tick_count() - failed_tick >= retry_delay_ms;
}

// One flush. False if the file can't be opened or takes no more.
bool file_trace::write_out(mutex_auto& guard, bool again) {
    bool done = false;
    {
        file_section section(*this, guard);
        if (section.open()) {
            on_open(guard, section.file);
            done = write_lines(guard, section.file);
            on_close(guard, section.file);
            section.measure();
            if (again && section.size > section.files->max_size)
                section.rotate();
        }
    }
    failed = !done;
    if (failed)
        failed_tick = os::tick_count();
    return done;
}

bool file_trace::write_lines(mutex_auto& guard, file_hnd& file) {
    bool done = true;
    guard.lock();
    while (done) {
        const std::string_view piece = lines.begin_write();
        if (piece.empty())
            break;
        guard.unlock();
        const std::int64_t written = file.write(piece.data(), static_cast<std::int64_t>(piece.size()));
        guard.lock();
        done = written > 0;
        if (char* const old = lines.end_write(written)) {
            guard.unlock();
            trace_ring::release(old);
            guard.lock();
        }
    }
    guard.unlock();
    return done;
}

void file_trace::rotate_if_larger(std::uint32_t limit) {
    mutex_auto guard(lock, true);
    if (busy || !has_path)
        return;
    {
        file_section section(*this, guard);
        if (section.open()) {
            section.measure();
            if (section.size >= limit)
                section.rotate();
        }
    }
    // Text that came meanwhile has left the flush to this thread.
    const std::uint32_t delay = due(write_delay_ms);
    guard.unlock();
    if (delay != 0)
        arm(delay);
}

void file_trace::on_open(mutex_auto&, file_hnd& file) {
    // At any other place a write would overwrite the log; a closed file takes none.
    if (file.seek(0, os::from_end) < 0)
        file.close();
}

void file_trace::on_close(mutex_auto&, file_hnd&) {}

// ---- the timer

bool file_trace::is_async() {
    return !closed.load(std::memory_order_relaxed) && host_runs();
}

// Without the lock, because no thread may hold it when it takes the timer's.
void file_trace::arm(std::uint32_t delay) {
    timer_host->start_once(
        &timer, [this] { on_timer(); }, delay);
}

void file_trace::on_timer() {
    // Before the flush takes the lock: a text that comes after the flush must not find the timer armed.
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

// Whether all other threads may be dead: the timer's worker was, without having been asked to end. A worker
// that could never be started shows nothing.
bool file_trace::others_lost() const {
    return timer_host && timer_host->worker_lost();
}

// Takes the lock, unless a thread that is dead by now holds it.
bool file_trace::lock_at_end(mutex_auto& guard) {
    if (lost.load(std::memory_order_relaxed))
        return false;
    if (timer_host && timer_host->is_alive()) {
        guard.lock();
        return true;
    }
    for (const std::uint32_t begin = os::tick_count(); !guard.try_lock(); os::sleep_ms(1)) {
        if (others_lost() || os::tick_count() - begin >= end_wait_ms) {
            lost = true;
            closed = true;
            return false;
        }
    }
    return true;
}

void file_trace::finish() {
    mutex_auto guard(lock, false);
    if (!lock_at_end(guard))
        return;
    if (others_lost()) {
        flush_locked(guard, false);
        guard.unlock();
    } else {
        guard.unlock();
        flush(true);
    }
    cancel();
}

void file_trace::shut_down() {
    mutex_auto guard(lock, false);
    if (!lock_at_end(guard))
        return;
    if (!closed.exchange(true)) {
        // The ring stays while someone reads it. What that flush leaves is written here.
        for (const std::uint32_t begin = os::tick_count();
             busy && !others_lost() && os::tick_count() - begin < end_wait_ms;) {
            guard.unlock();
            os::sleep_ms(1);
            guard.lock();
        }
        const bool some = has_path && lines.has_output();
        guard.unlock();
        if (some)
            flush(false);
    }
    guard.unlock();
    cancel();
    guard.lock();
    char* const memory = busy ? nullptr : lines.take();
    guard.unlock();
    trace_ring::release(memory);
}

void file_trace::close_now() {
    mutex_auto guard(lock, false);
    if (closed.load(std::memory_order_relaxed) || !lock_at_end(guard) || busy || !lines.has_output())
        return;
    closed = true;
    flush_locked(guard, false);
}

} // namespace cl
