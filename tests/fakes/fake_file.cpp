#include "fakes/fake_file.hpp"

#include "cl/os/clock.hpp"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace fakes {

namespace {

constexpr std::uint64_t first_time = 134117966450060000; // 2026-01-02 03:04:05.006 UTC
constexpr std::uint64_t unlimited = ~std::uint64_t{0};

struct file_node {
    std::wstring name;
    std::string bytes;
    std::uint64_t time = 0;
    bool folder = false;
    bool doomed = false; // removed when its last handle is closed
};

struct open_state {
    std::shared_ptr<file_node> file;
    std::wstring path;
    std::uint32_t access = 0, share = 0;
    bool removes = false;
    bool foreign = false; // held by another process
    std::int64_t position = 0;
};

struct call_fault {
    int n;
    std::uint32_t error;
    file_op op;
};

struct refusal {
    std::wstring key;
    std::uint32_t error;
    std::uint32_t times;
    std::optional<std::uint32_t> until;
};

struct state {
    std::map<std::wstring, std::shared_ptr<file_node>> files;
    std::map<std::uintptr_t, open_state> opened;
    std::uintptr_t next_handle = 0x100;
    std::uint64_t now = first_time;
    std::int64_t utc_offset = 0;
    std::vector<call_fault> call_faults;
    std::vector<refusal> refusals;
    std::uint64_t read_left = unlimited, write_left = unlimited, space_left = unlimited;
    int crash_countdown = -1;
    std::uint32_t crash_error = 0;
    bool crashed = false;
    std::vector<file_call> log;
};

std::mutex lock;
state s;
std::function<void(const file_call&)> hook;

std::wstring key_of(const std::wstring& path) {
    std::wstring key = path;
    for (wchar_t& c : key)
        if (c >= L'A' && c <= L'Z')
            c = static_cast<wchar_t>(c + 32);
    return key;
}

file_node* find(const std::wstring& path) {
    const auto at = s.files.find(key_of(path));
    return at == s.files.end() ? nullptr : at->second.get();
}

void touch(file_node& file) {
    file.time = s.now;
    s.now += 10000;
}

std::shared_ptr<file_node>& make(const std::wstring& path) {
    auto& file = s.files[key_of(path)];
    if (!file) {
        file = std::make_shared<file_node>();
        file->name = path;
        touch(*file);
    }
    return file;
}

// Cuts a file; what it held is free again.
void shrink(file_node& file, std::size_t size) {
    if (s.space_left != unlimited)
        s.space_left += file.bytes.size() - size;
    file.bytes.resize(size);
}

void remove_node(file_node* file) {
    shrink(*file, 0);
    std::erase_if(s.files, [&](const auto& entry) { return entry.second.get() == file; });
}

void forget(std::map<std::uintptr_t, open_state>::iterator at, bool keep_doomed = false) {
    const auto file = at->second.file;
    file->doomed |= at->second.removes && !keep_doomed;
    s.opened.erase(at);
    const bool held =
        std::any_of(s.opened.begin(), s.opened.end(), [&](const auto& o) { return o.second.file == file; });
    if (file->doomed && !held)
        remove_node(file.get());
}

// Each used right must be shared by all others, each denied one unused.
bool may_share(const file_node* file, std::uint32_t access, std::uint32_t share) {
    const auto rights = [](std::uint32_t a) {
        return (a & cl::os::access_read ? 1u : 0u) | (a & cl::os::access_write ? 2u : 0u) |
               (a & cl::os::access_delete ? 4u : 0u);
    };
    return std::none_of(s.opened.begin(), s.opened.end(), [&](const auto& entry) {
        const open_state& other = entry.second;
        return other.file.get() == file &&
               ((rights(access) & ~other.share) || (rights(other.access) & ~share));
    });
}

// Enters the call into the log and lets the faults act. An error means that the call is to do nothing.
class call {
public:
    call(file_op op, const std::wstring& path, std::uint32_t asked = 0) : entry{op, path, asked} {
        std::function<void(const file_call&)> before;
        {
            const std::lock_guard guard(lock);
            before = hook;
        }
        if (before)
            before(entry);
        held = std::unique_lock(lock);
        entry.error = fault();
    }
    ~call() { s.log.push_back(entry); }
    call(const call&) = delete;
    call& operator=(const call&) = delete;

    std::uint32_t error() const { return entry.error; }
    std::uint32_t done(std::uint32_t error) { return entry.error = error; }
    void moved(std::uint32_t n) { entry.count = n; }

private:
    std::uint32_t fault() {
        if (!s.crashed && s.crash_countdown >= 0 && s.crash_countdown-- == 0)
            s.crashed = true;
        if (s.crashed)
            return s.crash_error;
        std::uint32_t error = 0;
        for (call_fault& f : s.call_faults)
            if ((f.op == file_op::any || f.op == entry.op) && --f.n == 0)
                error = f.error;
        std::erase_if(s.call_faults, [](const call_fault& f) { return f.n <= 0; });
        if (error ||
            (entry.op != file_op::open && entry.op != file_op::remove && entry.op != file_op::rename))
            return error;
        for (refusal& r : s.refusals) {
            if (r.key != key_of(entry.path) || r.times == 0)
                continue;
            if (r.until && static_cast<std::int32_t>(cl::os::tick_count() - *r.until) >= 0)
                continue;
            if (r.times != disk::forever)
                --r.times;
            return r.error;
        }
        return 0;
    }

    file_call entry;
    std::unique_lock<std::mutex> held;
};

std::wstring path_of(cl::os::file_handle handle) {
    const std::lock_guard guard(lock);
    const auto at = s.opened.find(handle);
    return at == s.opened.end() ? std::wstring() : at->second.path;
}

open_state* state_of(cl::os::file_handle handle) {
    const auto at = s.opened.find(handle);
    return at == s.opened.end() ? nullptr : &at->second;
}

// How many of n bytes a cut lets through.
std::uint32_t cut(std::uint64_t& left, std::uint32_t n) {
    if (left == unlimited)
        return n;
    const auto part = static_cast<std::uint32_t>(std::min<std::uint64_t>(left, n));
    left = part < n ? unlimited : left - part;
    return part;
}

} // namespace

void disk::reset() {
    const std::lock_guard guard(lock);
    s = state();
    hook = nullptr;
}

void disk::put(const std::wstring& path, const std::string& bytes) {
    const std::lock_guard guard(lock);
    const auto& file = make(path);
    file->bytes = bytes;
    touch(*file);
}

std::string disk::bytes(const std::wstring& path) {
    const std::lock_guard guard(lock);
    const file_node* file = find(path);
    return file ? file->bytes : std::string();
}

bool disk::exists(const std::wstring& path) {
    const std::lock_guard guard(lock);
    return find(path);
}

void disk::erase(const std::wstring& path) {
    const std::lock_guard guard(lock);
    s.files.erase(key_of(path));
}

std::vector<std::wstring> disk::names() {
    const std::lock_guard guard(lock);
    std::vector<std::wstring> all;
    for (const auto& entry : s.files)
        all.push_back(entry.second->name);
    return all;
}

void disk::put_folder(const std::wstring& path) {
    const std::lock_guard guard(lock);
    make(path)->folder = true;
}

void disk::set_time(std::uint64_t file_time) {
    const std::lock_guard guard(lock);
    s.now = file_time;
}

std::uint64_t disk::write_time(const std::wstring& path) {
    const std::lock_guard guard(lock);
    const file_node* file = find(path);
    return file ? file->time : 0;
}

void disk::set_write_time(const std::wstring& path, std::uint64_t file_time) {
    const std::lock_guard guard(lock);
    if (file_node* file = find(path))
        file->time = file_time;
}

void disk::set_utc_offset_minutes(int minutes) {
    const std::lock_guard guard(lock);
    s.utc_offset = minutes * std::int64_t{600000000};
}

int disk::hold(const std::wstring& path, std::uint32_t access, std::uint32_t share) {
    const std::lock_guard guard(lock);
    open_state holder;
    holder.file = make(path);
    holder.path = path;
    holder.access = access;
    holder.share = share;
    holder.foreign = true;
    s.opened[s.next_handle] = holder;
    return static_cast<int>(s.next_handle++);
}

void disk::release(int holder) {
    const std::lock_guard guard(lock);
    if (const auto at = s.opened.find(static_cast<std::uintptr_t>(holder)); at != s.opened.end())
        forget(at);
}

void disk::fail_call(int n, std::uint32_t error, file_op op) {
    const std::lock_guard guard(lock);
    s.call_faults.push_back({n, error, op});
}

void disk::refuse(const std::wstring& path, std::uint32_t error, std::uint32_t times) {
    const std::lock_guard guard(lock);
    s.refusals.push_back({key_of(path), error, times, {}});
}

void disk::refuse_until(const std::wstring& path, std::uint32_t error, std::uint32_t tick) {
    const std::lock_guard guard(lock);
    s.refusals.push_back({key_of(path), error, forever, tick});
}

void disk::cut_read(std::uint64_t n) {
    const std::lock_guard guard(lock);
    s.read_left = n;
}

void disk::cut_write(std::uint64_t n) {
    const std::lock_guard guard(lock);
    s.write_left = n;
}

void disk::set_space(std::uint64_t n) {
    const std::lock_guard guard(lock);
    s.space_left = n;
}

void disk::crash_after(int n, std::uint32_t error) {
    const std::lock_guard guard(lock);
    s.crash_countdown = n;
    s.crash_error = error;
}

void disk::restart(bool power_failed) {
    const std::lock_guard guard(lock);
    s.crashed = false;
    s.crash_countdown = -1;
    for (auto at = s.opened.begin(); at != s.opened.end();) {
        const auto next = std::next(at);
        if (!at->second.foreign || power_failed)
            forget(at, power_failed);
        at = next;
    }
}

void disk::clear_faults() {
    const std::lock_guard guard(lock);
    s.call_faults.clear();
    s.refusals.clear();
    s.read_left = s.write_left = s.space_left = unlimited;
    s.crash_countdown = -1;
    s.crashed = false;
}

void disk::on_call(std::function<void(const file_call&)> f) {
    const std::lock_guard guard(lock);
    hook = std::move(f);
}

int disk::open_handles() {
    const std::lock_guard guard(lock);
    return static_cast<int>(
        std::count_if(s.opened.begin(), s.opened.end(), [](const auto& o) { return !o.second.foreign; }));
}

std::vector<file_call> disk::log() {
    const std::lock_guard guard(lock);
    return s.log;
}

int disk::calls(file_op op) {
    const std::lock_guard guard(lock);
    return static_cast<int>(std::count_if(
        s.log.begin(), s.log.end(), [op](const file_call& c) { return op == file_op::any || c.op == op; }));
}

void disk::clear_log() {
    const std::lock_guard guard(lock);
    s.log.clear();
}

} // namespace fakes

namespace cl::os {

using namespace fakes;

std::uint32_t open_file(const wchar_t* path, const file_request& request, file_handle& file) {
    file = invalid_file;
    call c(file_op::open, path);
    if (c.error())
        return c.error();
    if (!*path)
        return c.done(error_path_not_found);
    const auto how = request.disposition;
    const bool truncates =
        how == file_disposition::create_always || how == file_disposition::truncate_existing;
    file_node* node = find(path);
    if (node) {
        if (how == file_disposition::create_new)
            return c.done(error_exists);
        if (node->folder || node->doomed)
            return c.done(error_access_denied);
        if (!may_share(node, request.access | (truncates ? access_write : 0), request.share))
            return c.done(error_sharing);
    } else if (how == file_disposition::open_existing || how == file_disposition::truncate_existing) {
        return c.done(error_not_found);
    }
    open_state opened;
    opened.file = make(path);
    opened.path = path;
    opened.access = request.access;
    opened.share = request.share;
    opened.removes = request.attributes & delete_on_close;
    if (node && truncates) {
        shrink(*node, 0);
        touch(*node);
    }
    file = s.next_handle++;
    s.opened[file] = opened;
    return 0;
}

std::uint32_t close_file(file_handle file) {
    call c(file_op::close, path_of(file));
    const auto at = s.opened.find(file);
    if (at == s.opened.end())
        return c.done(error_invalid_handle);
    // The handle goes even when the call fails; a dead process leaves its handles to restart.
    if (!s.crashed)
        forget(at);
    return c.error();
}

std::uint32_t read_file(file_handle file, void* buf, std::uint32_t n, std::uint32_t& count) {
    count = 0;
    call c(file_op::read, path_of(file), n);
    open_state* o = state_of(file);
    if (c.error())
        return c.error();
    if (!o)
        return c.done(error_invalid_handle);
    if (!(o->access & access_read))
        return c.done(error_access_denied);
    const std::string& bytes = o->file->bytes;
    const auto at = std::min(static_cast<std::size_t>(o->position), bytes.size());
    const auto there = static_cast<std::uint32_t>(std::min<std::size_t>(n, bytes.size() - at));
    count = cut(s.read_left, there);
    if (count)
        std::memcpy(buf, bytes.data() + at, count);
    o->position += count;
    c.moved(count);
    return 0;
}

std::uint32_t write_file(file_handle file, const void* buf, std::uint32_t n, std::uint32_t& count) {
    count = 0;
    call c(file_op::write, path_of(file), n);
    open_state* o = state_of(file);
    if (c.error())
        return c.error();
    if (!o)
        return c.done(error_invalid_handle);
    if (!(o->access & access_write))
        return c.done(error_access_denied);
    std::string& bytes = o->file->bytes;
    const auto at = static_cast<std::uint64_t>(o->position);
    std::uint64_t part = cut(s.write_left, n);
    if (part && s.space_left != unlimited && at + part > bytes.size()) {
        const std::uint64_t room = bytes.size() + s.space_left;
        if (at >= room)
            return c.done(error_disk_full);
        part = std::min(part, room - at);
        s.space_left -= std::max(at + part, std::uint64_t{bytes.size()}) - bytes.size();
    }
    count = static_cast<std::uint32_t>(part);
    if (count) {
        if (bytes.size() < at + part)
            bytes.resize(at + part);
        std::memcpy(bytes.data() + at, buf, count);
        touch(*o->file);
    }
    o->position += count;
    c.moved(count);
    return 0;
}

std::uint32_t seek_file(file_handle file, std::int64_t offset, std::uint32_t origin, std::int64_t& position) {
    call c(file_op::seek, path_of(file));
    open_state* o = state_of(file);
    if (c.error())
        return c.error();
    if (!o)
        return c.done(error_invalid_handle);
    if (origin > 2)
        return c.done(error_invalid_parameter);
    const std::int64_t base = origin == 0   ? 0
                              : origin == 1 ? o->position
                                            : static_cast<std::int64_t>(o->file->bytes.size());
    if (offset > 0 ? base > INT64_MAX - offset : base + offset < 0)
        return c.done(offset > 0 ? error_invalid_parameter : error_negative_seek);
    position = o->position = base + offset;
    return 0;
}

std::uint32_t set_end_of_file(file_handle file) {
    call c(file_op::set_end, path_of(file));
    open_state* o = state_of(file);
    if (c.error())
        return c.error();
    if (!o)
        return c.done(error_invalid_handle);
    if (!(o->access & access_write))
        return c.done(error_access_denied);
    const auto size = static_cast<std::uint64_t>(o->position);
    std::string& bytes = o->file->bytes;
    if (size > bytes.size() && s.space_left != unlimited) {
        if (size - bytes.size() > s.space_left)
            return c.done(error_disk_full);
        s.space_left -= size - bytes.size();
    }
    if (size < bytes.size())
        shrink(*o->file, size);
    else
        bytes.resize(size);
    touch(*o->file);
    return 0;
}

std::uint32_t reserve_file(file_handle file, std::int64_t size) {
    call c(file_op::reserve, path_of(file));
    const open_state* o = state_of(file);
    if (c.error())
        return c.error();
    if (!o)
        return c.done(error_invalid_handle);
    const auto there = static_cast<std::int64_t>(o->file->bytes.size());
    const bool fits = s.space_left == unlimited || size - there <= static_cast<std::int64_t>(s.space_left);
    return c.done(fits ? 0 : error_disk_full);
}

std::uint32_t file_size(file_handle file, std::int64_t& size) {
    call c(file_op::size, path_of(file));
    const open_state* o = state_of(file);
    if (c.error())
        return c.error();
    if (!o)
        return c.done(error_invalid_handle);
    size = static_cast<std::int64_t>(o->file->bytes.size());
    return 0;
}

std::uint32_t settle_write_time(file_handle file) {
    call c(file_op::write_time, path_of(file));
    return c.error() || state_of(file) ? c.error() : c.done(error_invalid_handle);
}

std::uint32_t last_write_time(file_handle file, std::uint64_t& time) {
    call c(file_op::write_time, path_of(file));
    const open_state* o = state_of(file);
    if (c.error())
        return c.error();
    if (!o)
        return c.done(error_invalid_handle);
    time = o->file->time;
    return 0;
}

std::uint32_t to_local_file_time(std::uint64_t utc, std::uint64_t& local) {
    const std::lock_guard guard(lock);
    local = utc + static_cast<std::uint64_t>(s.utc_offset);
    return 0;
}

std::uint32_t remove_file(const wchar_t* path) {
    call c(file_op::remove, path);
    file_node* node = find(path);
    if (c.error())
        return c.error();
    if (!node)
        return c.done(error_not_found);
    if (node->folder)
        return c.done(error_access_denied);
    if (!may_share(node, access_delete, share_read | share_write | share_delete))
        return c.done(error_sharing);
    // Someone who shares deletion keeps it alive until he closes it.
    node->doomed = true;
    if (std::none_of(s.opened.begin(), s.opened.end(),
                     [&](const auto& o) { return o.second.file.get() == node; }))
        remove_node(node);
    return 0;
}

std::uint32_t rename_file(const wchar_t* from, const wchar_t* to) {
    call c(file_op::rename, from);
    file_node* node = find(from);
    if (c.error())
        return c.error();
    if (!node)
        return c.done(error_not_found);
    if (!may_share(node, access_delete, share_read | share_write | share_delete))
        return c.done(error_sharing);
    if (const file_node* target = find(to); target && target != node)
        return c.done(error_already_exists);
    const auto kept = s.files[key_of(from)];
    s.files.erase(key_of(from));
    kept->name = to;
    s.files[key_of(to)] = kept;
    return 0;
}

} // namespace cl::os
