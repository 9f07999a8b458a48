#include "fakes/disk.hpp"

#include "cl/os/clock.hpp"
#include "temp_folder.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

// The product's own functions, compiled under these names.
namespace cl::os {

extern decltype(open_file) real_open_file;
extern decltype(close_file) real_close_file;
extern decltype(read_file) real_read_file;
extern decltype(write_file) real_write_file;
extern decltype(seek_file) real_seek_file;
extern decltype(set_end_of_file) real_set_end_of_file;
extern decltype(reserve_file) real_reserve_file;
extern decltype(settle_write_time) real_settle_write_time;
extern decltype(file_size) real_file_size;
extern decltype(last_write_time) real_last_write_time;
extern decltype(to_local_file_time) real_to_local_file_time;
extern decltype(remove_file) real_remove_file;
extern decltype(rename_file) real_rename_file;

} // namespace cl::os

namespace fakes {

namespace {

namespace fs = std::filesystem;
using cl::os::file_handle;

constexpr std::uint64_t unlimited = ~std::uint64_t{0};

struct call_fault {
    int n;
    std::uint32_t error;
    file_op op;
};

struct refusal {
    std::wstring path;
    std::uint32_t error;
    std::uint32_t times;
    std::optional<std::uint32_t> until;
};

struct faults {
    std::vector<call_fault> calls;
    std::vector<refusal> refusals;
    std::uint64_t read_left = unlimited, write_left = unlimited, room = unlimited;
    int crash_countdown = -1;
    std::uint32_t crash_error = 0;
    bool crashed = false;
};

struct state : faults {
    std::map<file_handle, std::wstring> opened;
    std::vector<file_handle> holders;
    std::map<fs::path, std::wstring> names; // of the real files, as they were spelled
    std::uint64_t last_stamp = 0;
    std::vector<file_call> log;
    std::optional<std::int64_t> utc_offset;
};

// Without a reset nothing below is touched, so that threads meet no lock that the product doesn't have.
std::atomic<bool> watching;
std::recursive_mutex lock;
state s;
std::function<void(const file_call&)> hook;
std::optional<temp_folder> folder;

fs::path system_path(std::wstring path) {
    if constexpr (fs::path::preferred_separator == '/')
        std::replace(path.begin(), path.end(), L'\\', L'/');
    return path;
}

// Where a file of that name lies: in the test's folder, unless the name is one of the system's temporary
// folder. Every folder exists.
std::wstring place(const std::wstring& path) {
    static const std::wstring temporary = fs::temp_directory_path().wstring();
    if (path.empty() || path.starts_with(temporary))
        return path;
    std::wstring below = path;
    if (below.find(L':') == 1)
        below.erase(1, 1);
    const std::wstring real = *folder / below;
    const std::lock_guard guard(lock);
    if (s.names.emplace(system_path(real), path).second)
        fs::create_directories(system_path(real).parent_path());
    return real;
}

std::wstring path_of(file_handle handle) {
    const std::lock_guard guard(lock);
    const auto at = s.opened.find(handle);
    return at == s.opened.end() ? std::wstring() : at->second;
}

// What the files of the folder take.
std::uint64_t used() {
    std::uint64_t sum = 0;
    for (const auto& entry : fs::recursive_directory_iterator(folder->folder))
        sum += entry.is_regular_file() ? entry.file_size() : 0;
    return sum;
}

// How many of n bytes a cut lets through.
std::uint32_t cut(std::uint64_t& left, std::uint32_t n) {
    if (left == unlimited)
        return n;
    const auto part = static_cast<std::uint32_t>(std::min<std::uint64_t>(left, n));
    left = part < n ? unlimited : left - part;
    return part;
}

// How many bytes of n a write at the handle's position may put, with what is free.
std::uint32_t fitting(file_handle file, std::uint32_t n) {
    std::int64_t size = 0, at = 0;
    if (s.room == unlimited || cl::os::real_file_size(file, size) || cl::os::real_seek_file(file, 0, 1, at))
        return n;
    const std::uint64_t taken = used(), free = s.room > taken ? s.room - taken : 0;
    const std::int64_t end = size + static_cast<std::int64_t>(free);
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(end - at, 0, n));
}

std::uint32_t fault_of(const file_call& call) {
    if (!s.crashed && s.crash_countdown >= 0 && s.crash_countdown-- == 0)
        s.crashed = true;
    if (s.crashed)
        return s.crash_error;
    std::uint32_t error = 0;
    for (call_fault& f : s.calls)
        if ((f.op == file_op::any || f.op == call.op) && --f.n == 0)
            error = f.error;
    std::erase_if(s.calls, [](const call_fault& f) { return f.n <= 0; });
    if (error || (call.op != file_op::open && call.op != file_op::remove && call.op != file_op::rename))
        return error;
    for (refusal& r : s.refusals) {
        if (r.path != call.path || r.times == 0)
            continue;
        if (r.until && static_cast<std::int32_t>(cl::os::tick_count() - *r.until) >= 0)
            continue;
        if (r.times != disk::forever)
            --r.times;
        return r.error;
    }
    return 0;
}

// One call: lets the faults act, then the real function, and enters both into the log.
template <class Real>
std::uint32_t pass(file_call call, Real real) {
    std::function<void(const file_call&)> before;
    {
        const std::lock_guard guard(lock);
        before = hook;
    }
    if (before)
        before(call);
    {
        const std::lock_guard guard(lock);
        call.error = fault_of(call);
    }
    if (!call.error)
        call.error = real(call);
    const std::lock_guard guard(lock);
    s.log.push_back(call);
    return call.error;
}

// A system's own stamps may stand still for some milliseconds; no two of these are the same, in whole seconds
// either, which is all that the standard library sets on Windows.
void touch(const std::wstring& path) {
    const std::lock_guard guard(lock);
    if (!s.last_stamp)
        s.last_stamp = disk::write_time(path);
    disk::set_write_time(path, s.last_stamp += 10000000);
}

template <class Real>
std::uint32_t pass(file_op op, file_handle file, Real real) {
    return pass({op, path_of(file)}, [&](file_call&) { return real(); });
}

} // namespace

void disk::reset() {
    end();
    const std::lock_guard guard(lock);
    if (!folder)
        folder.emplace();
    for (const auto& entry : fs::directory_iterator(folder->folder))
        fs::remove_all(entry);
    watching = true;
}

void disk::end() {
    const std::lock_guard guard(lock);
    watching = false;
    restart();
    for (const file_handle holder : s.holders)
        cl::os::real_close_file(holder);
    s = state();
    hook = nullptr;
}

void disk::put(const std::wstring& path, const std::string& bytes) {
    std::ofstream(system_path(place(path)), std::ios::binary) << bytes;
    touch(path);
}

std::string disk::bytes(const std::wstring& path) {
    if (std::ifstream in(system_path(place(path)), std::ios::binary); in.is_open())
        return {std::istreambuf_iterator<char>(in), {}};
    // Whoever holds the file may keep all others out: his own handle can read it.
    const std::lock_guard guard(lock);
    std::string all;
    for (const auto& [file, name] : s.opened) {
        std::int64_t at = 0, start = 0, size = 0;
        if (name != path || cl::os::real_seek_file(file, 0, 1, at) || cl::os::real_file_size(file, size))
            continue;
        std::uint32_t count = 0;
        all.resize(static_cast<std::size_t>(size));
        cl::os::real_seek_file(file, 0, 0, start);
        cl::os::real_read_file(file, all.data(), static_cast<std::uint32_t>(size), count);
        cl::os::real_seek_file(file, at, 0, start);
        EXPECT_EQ(count, size) << "a file that can't be looked at while it is open";
    }
    return all;
}

bool disk::exists(const std::wstring& path) {
    return fs::exists(system_path(place(path)));
}
void disk::erase(const std::wstring& path) {
    fs::remove(system_path(place(path)));
}

std::vector<std::wstring> disk::names() {
    std::vector<std::wstring> all;
    const std::lock_guard guard(lock);
    for (const auto& [real, name] : s.names)
        if (fs::exists(real))
            all.push_back(name);
    std::sort(all.begin(), all.end());
    return all;
}

namespace {

// 100 ns since 1970 here, since 1601 in the files' own words.
using file_ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10000000>>;
constexpr file_ticks from_1601_to_1970 = std::chrono::seconds(11644473600);

} // namespace

std::uint64_t disk::write_time(const std::wstring& path) {
    std::error_code missing;
    const auto time =
        fs::file_time_type::clock::to_sys(fs::last_write_time(system_path(place(path)), missing));
    if (missing)
        return 0;
    const auto since_1970 = std::chrono::duration_cast<file_ticks>(time.time_since_epoch());
    return static_cast<std::uint64_t>((since_1970 + from_1601_to_1970).count());
}

void disk::set_write_time(const std::wstring& path, std::uint64_t file_time) {
    const file_ticks since_1970 = file_ticks(static_cast<std::int64_t>(file_time)) - from_1601_to_1970;
    const std::chrono::sys_time<std::chrono::nanoseconds> time(since_1970);
    std::error_code missing;
    fs::last_write_time(system_path(place(path)), fs::file_time_type::clock::from_sys(time), missing);
}

void disk::set_utc_offset_minutes(int minutes) {
    const std::lock_guard guard(lock);
    s.utc_offset = minutes * std::int64_t{600000000};
}

int disk::hold(const std::wstring& path, std::uint32_t access, std::uint32_t share) {
    const std::lock_guard guard(lock);
    file_handle holder;
    cl::os::real_open_file(place(path).c_str(),
                           {access, share, cl::os::file_disposition::open_always, 0, false}, holder);
    s.holders.push_back(holder);
    return static_cast<int>(s.holders.size()) - 1;
}

void disk::release(int holder) {
    const std::lock_guard guard(lock);
    cl::os::real_close_file(std::exchange(s.holders[static_cast<std::size_t>(holder)], cl::os::invalid_file));
}

void disk::fail_call(int n, std::uint32_t error, file_op op) {
    const std::lock_guard guard(lock);
    s.calls.push_back({n, error, op});
}

void disk::refuse(const std::wstring& path, std::uint32_t error, std::uint32_t times) {
    const std::lock_guard guard(lock);
    s.refusals.push_back({path, error, times, {}});
}

void disk::refuse_until(const std::wstring& path, std::uint32_t error, std::uint32_t tick) {
    const std::lock_guard guard(lock);
    s.refusals.push_back({path, error, forever, tick});
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
    s.room = used() + n;
}

void disk::crash_after(int n, std::uint32_t error) {
    const std::lock_guard guard(lock);
    s.crash_countdown = n;
    s.crash_error = error;
}

void disk::restart() {
    const std::lock_guard guard(lock);
    for (const auto& entry : s.opened)
        cl::os::real_close_file(entry.first);
    s.opened.clear();
    s.crashed = false;
    s.crash_countdown = -1;
}

void disk::clear_faults() {
    const std::lock_guard guard(lock);
    static_cast<faults&>(s) = {};
}

void disk::on_call(std::function<void(const file_call&)> f) {
    const std::lock_guard guard(lock);
    hook = std::move(f);
}

int disk::open_handles() {
    const std::lock_guard guard(lock);
    return static_cast<int>(s.opened.size());
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
    if (!watching)
        return real_open_file(path, request, file);
    file = invalid_file;
    return pass({file_op::open, path}, [&](file_call&) {
        const std::wstring real = place(path);
        const bool is_new = !fs::exists(system_path(real));
        const std::uint32_t error = real_open_file(real.c_str(), request, file);
        const std::lock_guard guard(lock);
        if (!error)
            s.opened[file] = path;
        if (!error && (is_new || request.disposition == file_disposition::create_always ||
                       request.disposition == file_disposition::truncate_existing))
            touch(path);
        return error;
    });
}

std::uint32_t close_file(file_handle file) {
    if (!watching)
        return real_close_file(file);
    bool closed = false;
    const auto close = [&] {
        closed = true;
        {
            const std::lock_guard guard(lock);
            s.opened.erase(file);
        }
        return real_close_file(file);
    };
    const std::uint32_t error = pass(file_op::close, file, close);
    // The handle goes even when the call fails; a dead process leaves its handles to restart.
    if (!closed && !s.crashed)
        close();
    return error;
}

std::uint32_t read_file(file_handle file, void* buf, std::uint32_t n, std::uint32_t& count) {
    if (!watching)
        return real_read_file(file, buf, n, count);
    count = 0;
    return pass({file_op::read, path_of(file), n}, [&](file_call& call) {
        // What the end of the file holds back doesn't count.
        std::int64_t size = 0, at = 0;
        std::uint32_t part = n;
        if (s.read_left != unlimited && !real_file_size(file, size) && !real_seek_file(file, 0, 1, at)) {
            const std::lock_guard guard(lock);
            part = cut(s.read_left, static_cast<std::uint32_t>(std::clamp<std::int64_t>(size - at, 0, n)));
        }
        const std::uint32_t error = real_read_file(file, buf, part, count);
        call.count = count;
        return error;
    });
}

std::uint32_t write_file(file_handle file, const void* buf, std::uint32_t n, std::uint32_t& count) {
    if (!watching)
        return real_write_file(file, buf, n, count);
    count = 0;
    return pass({file_op::write, path_of(file), n}, [&](file_call& call) {
        std::uint32_t part = n;
        {
            const std::lock_guard guard(lock);
            part = cut(s.write_left, n);
            if (const std::uint32_t room = fitting(file, part); room < part) {
                if (room == 0)
                    return error_disk_full;
                part = room;
            }
        }
        const std::uint32_t error = real_write_file(file, buf, part, count);
        call.count = count;
        if (count)
            touch(call.path);
        return error;
    });
}

std::uint32_t seek_file(file_handle file, std::int64_t offset, std::uint32_t origin, std::int64_t& position) {
    const auto real = [&] { return real_seek_file(file, offset, origin, position); };
    return watching ? pass(file_op::seek, file, real) : real();
}

std::uint32_t set_end_of_file(file_handle file) {
    const auto real = [&] {
        std::int64_t size = 0, at = 0;
        if (watching && s.room != unlimited && !real_file_size(file, size) &&
            !real_seek_file(file, 0, 1, at) && at > size) {
            const std::lock_guard guard(lock);
            if (used() + static_cast<std::uint64_t>(at - size) > s.room)
                return error_disk_full;
        }
        const std::uint32_t error = real_set_end_of_file(file);
        if (watching && !error)
            touch(path_of(file));
        return error;
    };
    return watching ? pass(file_op::set_end, file, real) : real();
}

// Not every file system sets space aside; that of a test does, while there is any.
std::uint32_t reserve_file(file_handle file, std::int64_t size) {
    if (!watching)
        return real_reserve_file(file, size);
    return pass(file_op::reserve, file, [&] {
        std::int64_t now = 0;
        const std::uint32_t error = real_file_size(file, now);
        const std::lock_guard guard(lock);
        const bool full =
            s.room != unlimited && size > now && used() + static_cast<std::uint64_t>(size - now) > s.room;
        return full ? error_disk_full : error;
    });
}

std::uint32_t settle_write_time(file_handle file) {
    const auto real = [&] { return real_settle_write_time(file); };
    return watching ? pass(file_op::write_time, file, real) : real();
}

std::uint32_t file_size(file_handle file, std::int64_t& size) {
    const auto real = [&] { return real_file_size(file, size); };
    return watching ? pass(file_op::size, file, real) : real();
}

std::uint32_t last_write_time(file_handle file, std::uint64_t& time) {
    const auto real = [&] { return real_last_write_time(file, time); };
    return watching ? pass(file_op::write_time, file, real) : real();
}

std::uint32_t to_local_file_time(std::uint64_t utc, std::uint64_t& local) {
    const std::lock_guard guard(lock);
    if (!s.utc_offset)
        return real_to_local_file_time(utc, local);
    local = utc + static_cast<std::uint64_t>(*s.utc_offset);
    return 0;
}

std::uint32_t remove_file(const wchar_t* path) {
    const auto real = [&](file_call&) { return real_remove_file(place(path).c_str()); };
    return watching ? pass({file_op::remove, path}, real) : real_remove_file(path);
}

std::uint32_t rename_file(const wchar_t* from, const wchar_t* to) {
    const auto real = [&](file_call&) { return real_rename_file(place(from).c_str(), place(to).c_str()); };
    return watching ? pass({file_op::rename, from}, real) : real_rename_file(from, to);
}

} // namespace cl::os
