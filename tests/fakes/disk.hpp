// The files of cl/os/file.hpp: the real ones, which fail on demand. What a test doesn't ask for passes on as
// it is. Thread-safe, except for reset, on_call and setting up the faults while other threads use the disk.
//
// From reset() to its end a test has a folder of its own: all names that it uses, C:\data\a.txt as well as
// a.txt, are those of files in there, and all folders exist. Each change of a file gives it another time.
#pragma once

#include "cl/os/file.hpp"

#include <functional>
#include <string>
#include <vector>

namespace fakes {

// The calls, `any` for all of them. `local_time` is not among them: it touches no disk.
enum class file_op {
    any,
    open,
    close,
    read,
    write,
    seek,
    set_end,
    reserve,
    size,
    write_time,
    remove,
    rename
};

struct file_call {
    file_op op;
    std::wstring path; // of the file, as it was opened
    // What was asked: bytes for read and write, else 0. Then what came of it.
    std::uint32_t asked = 0;
    std::uint32_t count = 0;
    std::uint32_t error = 0;
};

struct disk {
    static constexpr std::uint32_t forever = 0xFFFFFFFF;

    // An empty folder, and no faults, open handles, hook or log.
    static void reset();

    // Files, past all faults. `bytes` of a missing file is empty; `names` are sorted.
    static void put(const std::wstring& path, const std::string& bytes);
    static std::string bytes(const std::wstring& path);
    static bool exists(const std::wstring& path);
    static void erase(const std::wstring& path);
    static std::vector<std::wstring> names();
    static std::uint64_t write_time(const std::wstring& path);
    static void set_write_time(const std::wstring& path, std::uint64_t file_time);
    // The local clock's distance from UTC, until the next reset.
    static void set_utc_offset_minutes(int minutes);

    // Someone else who holds the file open, as if he had opened it with these words of cl/os/file.hpp; the
    // file is made if it isn't there. release ends it.
    static int hold(const std::wstring& path, std::uint32_t access, std::uint32_t share);
    static void release(int holder);

    // Faults. Several may stand at once; each of these adds one.

    // The n-th call of this kind from now (1 = the next) fails with `error` and does nothing; then this fault
    // is gone.
    static void fail_call(int n, std::uint32_t error, file_op op = file_op::any);
    // The next `times` opens, removals and renames of that path fail.
    static void refuse(const std::wstring& path, std::uint32_t error, std::uint32_t times = forever);
    // The same until cl::os::tick_count has reached `tick`, modulo 2^32.
    static void refuse_until(const std::wstring& path, std::uint32_t error, std::uint32_t tick);
    // The read (write) that would carry the total from now beyond n bytes stops there, once.
    static void cut_read(std::uint64_t n);
    static void cut_write(std::uint64_t n);
    // The files of the folder may grow by n bytes in all from now. The write that needs more takes what fits;
    // then error 112. What is cut off or removed is free again.
    static void set_space(std::uint64_t n);
    // The n-th call from now is the last that works: all later ones fail with `error` and do nothing, and
    // closing only forgets the handle. restart ends that: the handles of the dead process are closed.
    static void crash_after(int n, std::uint32_t error = 31);
    static void restart();
    // Ends all faults, but not holders and handles.
    static void clear_faults();

    // Called before each call, without the disk's lock: a test may change the disk or the clock at that
    // moment.
    static void on_call(std::function<void(const file_call&)> hook);

    // Since the reset or clear_log. Handles that were opened before don't count.
    static int open_handles();
    static std::vector<file_call> log();
    static int calls(file_op op = file_op::any);
    static void clear_log();

    // Nothing but passing on, as before the first reset; the folder goes.
    static void end();
};

} // namespace fakes
