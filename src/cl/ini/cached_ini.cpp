#include "cl/ini/cached_ini.hpp"

#include "cl/file/random_gen.hpp"
#include "cl/file/uni_file.hpp"
#include "cl/ini/ini_merge.hpp"
#include "cl/os/clock.hpp"
#include "cl/trace/say.hpp"

namespace cl {

namespace {

// How long a file that others hold is waited for, by the sum of the pauses.
constexpr std::uint32_t open_budget_ms = 5000;
// The pauses are of random length, from 50 ms on, so that two processes don't retry in step.
constexpr std::uint32_t shortest_pause_ms = 50;
constexpr std::uint32_t load_spread_ms = 50;
constexpr std::uint32_t flush_spread_ms = 200;
// How often the timer's flush is tried again after a refusal that may pass by itself, as that of a file does
// whose removal waits for someone else to close it.
constexpr std::uint32_t max_open_retries = 3;

bool open_patiently(const ini_file& target, uni_file& file, bool read_only, std::uint32_t spread_ms) {
    for (std::uint32_t waited = 0; waited < open_budget_ms;) {
        if (target.open_ini(file, read_only, false))
            return true;
        if (!file.was_sharing_violation())
            return false;
        const std::uint32_t pause =
            backoff_rng.next() * spread_ms / backoff_generator::modulus + shortest_pause_ms;
        os::sleep_ms(pause);
        waited += pause;
    }
    return false;
}

} // namespace

cached_ini::cached_ini(base_timer& slow) : sections(std::make_unique<ini_sections>()), timer(slow) {}

cached_ini::~cached_ini() {
    mutex_auto scope(lock, false);
    // At the end of a process the other threads may be dead, and one of them may have died with the lock in
    // its hands: nothing can be saved then.
    while (!scope.try_lock() || flushing) {
        if (timer.worker_lost())
            break;
        scope.unlock();
        os::sleep_ms(1);
    }
    if (scope.locked) {
        cached_ini::flush_unlocked(scope);
        attached = false;
        alive = false;
        scope.unlock();
    } else {
        static_cast<void>(sections.release()); // may be half changed
    }
    // Through the timer, because a handle may be null though its entry isn't gone.
    timer.stop_and_wait(&flush_timer);
    stop_and_wait(&spare_timer);
}

// ---- lookups

bool cached_ini::get_value_unlocked(const std::wstring& section, const std::wstring& key,
                                    std::wstring& value) {
    return sections->value(section, key, value);
}

bool cached_ini::get_value(const std::wstring& section, const std::wstring& key, std::wstring& value) {
    mutex_auto scope(lock, true);
    return get_value_unlocked(section, key, value);
}

bool cached_ini::get_value_current(const std::wstring& section, const std::wstring& key,
                                   std::wstring& value) {
    mutex_auto scope(lock, true);
    refresh(scope);
    return get_value_unlocked(section, key, value);
}

bool cached_ini::get_section(const std::wstring& section, std::vector<std::wstring>& lines,
                             std::uint32_t flags) {
    mutex_auto scope(lock, true);
    return section_lines_unlocked(section, lines, flags);
}

bool cached_ini::get_section_names(std::vector<std::wstring>& names) {
    mutex_auto scope(lock, true);
    return section_names_unlocked(names);
}

bool cached_ini::get_section_current(const std::wstring& section, std::vector<std::wstring>& lines,
                                     std::uint32_t flags) {
    mutex_auto scope(lock, true);
    refresh(scope);
    return section_lines_unlocked(section, lines, flags);
}

bool cached_ini::get_section_names_current(std::vector<std::wstring>& names) {
    mutex_auto scope(lock, true);
    refresh(scope);
    return section_names_unlocked(names);
}

bool cached_ini::section_exists(const std::wstring& section) {
    mutex_auto scope(lock, true);
    return sections->exists(section);
}

bool cached_ini::section_exists_current(const std::wstring& section) {
    mutex_auto scope(lock, true);
    refresh(scope);
    return sections->exists(section);
}

bool cached_ini::section_lines_unlocked(const std::wstring& section, std::vector<std::wstring>& lines,
                                        std::uint32_t flags) {
    return sections->lines(section, lines, flags);
}

bool cached_ini::section_pairs_unlocked(const std::wstring& section, pair_list& pairs) {
    return sections->pairs(section, pairs);
}

bool cached_ini::section_names_unlocked(std::vector<std::wstring>& names) {
    sections->names(names);
    return true;
}

bool cached_ini::get_section_pairs(const std::wstring& section, pair_list& pairs) {
    mutex_auto scope(lock, true);
    return section_pairs_unlocked(section, pairs);
}

bool cached_ini::get_section_pairs_current(const std::wstring& section, pair_list& pairs) {
    mutex_auto scope(lock, true);
    refresh(scope);
    return section_pairs_unlocked(section, pairs);
}

// ---- edits

bool cached_ini::write_value(const std::wstring& section, const std::wstring& key, const std::wstring& value,
                             bool schedule) {
    mutex_auto scope(lock, true);
    sections->write_value(section, key, value);
    // Even an unchanged value counts as a change here, which is deliberate.
    if (schedule)
        check_write_flush(scope);
    else
        dirty = true;
    return true;
}

bool cached_ini::delete_value(const std::wstring& section, const std::wstring& key) {
    mutex_auto scope(lock, true);
    if (sections->delete_value(section, key))
        check_write_flush(scope);
    return true;
}

bool cached_ini::write_section(const std::wstring& section, const std::vector<std::wstring>& lines) {
    mutex_auto scope(lock, true);
    sections->write_section(section, lines);
    check_write_flush(scope);
    return true;
}

bool cached_ini::delete_section(const std::wstring& section) {
    mutex_auto scope(lock, true);
    if (sections->delete_section(section))
        check_write_flush(scope);
    return true;
}

void cached_ini::check_write_flush(mutex_auto& scope) {
    if (!alive)
        return;
    dirty = true;
    if (flush_delay == 0)
        flush_unlocked(scope);
    else
        arm_flush();
}

void cached_ini::arm_flush() {
    timer.start_once(
        &flush_timer, [this] { flush_by_timer(); }, flush_delay);
}

// ---- the file

void cached_ini::set_file(const std::wstring& file_path, bool as_unicode) {
    mutex_auto scope(lock, true);
    wait_for_flush(scope);
    flush_unlocked(scope);
    attached = false;
    ini_file::set_file(file_path, as_unicode);
    refused_opens = 0;
    attached = true;
    dirty = false;
    sections->clear();
    file_stamp.store(0, std::memory_order_relaxed);
    reload_unlocked(scope);
}

void cached_ini::close() {
    mutex_auto scope(lock, true);
    wait_for_flush(scope);
    flush_unlocked(scope);
    attached = false;
}

void cached_ini::wait_for_flush(mutex_auto& scope) {
    while (flushing && !timer.worker_lost()) {
        scope.unlock();
        os::sleep_ms(1);
        scope.lock();
    }
}

bool cached_ini::reload() {
    mutex_auto scope(lock, true);
    return reload_unlocked(scope);
}

bool cached_ini::reload_unlocked(mutex_auto& scope) {
    return alive && attached && flush_unlocked(scope) && load();
}

// A file that has no stamp is loaded at each call past the interval.
void cached_ini::refresh(mutex_auto& scope) {
    if (!attached)
        return;
    const std::uint32_t now = os::tick_count();
    if (now - last_check < check_interval)
        return;
    packed_time stamp = 0;
    if (file_write_time(path.c_str(), stamp, false) && stamp == file_stamp.load(std::memory_order_relaxed))
        last_check = now;
    else
        reload_unlocked(scope);
}

// flush_unlocked has been asked before: it refuses for the same flags, so neither is set here.
bool cached_ini::load() {
    struct load_section {
        bool& loading;
        ~load_section() { loading = false; }
    } const section{loading};
    loading = true;
    uni_file file;
    ini_sections read;
    packed_time stamp = 0;
    bool complete = false;
    bool missing = false;
    if (open_patiently(*this, file, true, load_spread_ms)) {
        read.load([&file](std::wstring& line) { return file.read_line(line); });
        complete = file.last_error == 0;
        if (!complete)
            report_read_error(file.last_error);
        file.stamp(stamp); // while nobody else can write
    } else {
        missing = file.was_not_found();
        if (!missing)
            report_open_error(file.last_error);
    }
    // Changes of ours are never thrown away by a load.
    if (!alive || dirty || !(complete || missing))
        return false;
    *sections = std::move(read);
    if (complete) {
        file_stamp.store(stamp, std::memory_order_relaxed);
        last_check = os::tick_count();
    }
    return true;
}

bool cached_ini::flush() {
    mutex_auto scope(lock, true);
    return flush_unlocked(scope);
}

void cached_ini::flush_by_timer() {
    flush();
    mutex_auto scope(lock, true);
    // `flushing` first: a flush on another thread counts its refused opens without the lock.
    if (!flushing && refused_opens != 0 && refused_opens <= max_open_retries && alive && attached && dirty)
        arm_flush();
}

bool cached_ini::flush_unlocked(mutex_auto& scope) {
    if (!alive || !attached)
        return false;
    if (flushing || loading) {
        overdue = true;
        return false;
    }
    if (!dirty)
        return true;
    overdue = false;
    const bool written = write_changes(scope);
    // The changes of meanwhile, whose timer found this flush at work.
    if (overdue && alive && attached && dirty)
        arm_flush();
    return written;
}

// What a flush owns while the lock is given up. The end takes the lock again, and takes back what was
// committed and not written.
struct cached_ini::flush_section {
    cached_ini& ini;
    mutex_auto& scope;
    std::list<ini_section> unwritten;

    flush_section(cached_ini& i, mutex_auto& s) : ini(i), scope(s) {
        ini.flushing = true;
        scope.unlock();
    }
    ~flush_section() {
        scope.lock();
        ini.flushing = false;
        if (unwritten.empty())
            return;
        ini.sections->restore(std::move(unwritten));
        ini.dirty = true;
    }
    flush_section(const flush_section&) = delete;
    flush_section& operator=(const flush_section&) = delete;
};

bool cached_ini::write_changes(mutex_auto& scope) {
    flush_section running(*this, scope);
    uni_file source, temp; // are closed before the lock is taken at the end
    if (!open_for_flush(source, temp))
        return false;
    // Without the lock, which the callback takes. It may be that very callback that runs this.
    timer.stop_and_wait(&flush_timer);

    scope.lock();
    if (!alive)
        return false;
    running.unwritten = sections->commit();
    dirty = false;
    scope.unlock();
    if (running.unwritten.empty())
        return true;
    if (!write_merged(source, temp, running.unwritten))
        return false;
    running.unwritten.clear();
    return true;
}

// On failure the trace knows why.
bool cached_ini::open_for_flush(uni_file& source, uni_file& temp) {
    if (!open_patiently(*this, source, false, flush_spread_ms)) {
        refused_opens += source.was_sharing_violation() ? 0 : 1;
        report_open_error(source.last_error);
        return false;
    }
    refused_opens = 0;
    if (make_temp(source, temp, &temp_name))
        return true;
    report_no_temp();
    return false;
}

void cached_ini::report_no_temp() {
    temp_name.clear();
    say(trace_out, "cannot create temp file '%?'\n", temp_name);
}

// False if the file is as it was, and the changes have to wait. Once its space is set aside, a failure is
// reported and the flush goes on: the changes count as written.
bool cached_ini::write_merged(uni_file& source, uni_file& temp, std::list<ini_section>& snapshot) {
    std::size_t added = 0;
    for (const ini_section& section : snapshot)
        added += section.length();
    const bool reserved = reserve_temp(source, temp, added);
    if (!reserved && temp.last_error != os::error_not_supported) {
        report_no_temp();
        return false;
    }
    if (source.size() == 0)
        source.last_error = 0; // its mark may have failed to go out; no read did
    ini_merge merge(
        snapshot, [&temp](const std::wstring& line) { return temp.write_line(line); },
        source.encoding == encoding_utf8, [&source, &temp] { return source.pass_lines(temp, '['); });
    const bool merged = merge([&source](std::wstring& line) { return source.read_line(line); });
    if (source.last_error != 0) { // what it would lose is someone else's
        report_read_error(source.last_error);
        return false;
    }
    if (!(temp.sync() && merged)) {
        say(trace_out, "error(s) writing to '%?'\n", temp_name);
        if (!reserved)
            return false;
    }
    temp.set_end(); // frees what was reserved and not needed
    if (!reserve_copy(temp, source)) {
        report_no_temp();
        return false;
    }
    if (!copy_back(temp, source))
        say(trace_out, "error while copying from temp '%?' to '%?'\n", temp_name, path);
    // So that our own writing isn't taken for a change by someone else; and while nobody else can write.
    if (packed_time stamp = 0; source.stamp(stamp))
        file_stamp.store(stamp, std::memory_order_relaxed);
    return true;
}

} // namespace cl
