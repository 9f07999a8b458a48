// The files of cl/os/file.hpp as a disk in memory, with faults on demand. Thread-safe, except for reset,
// on_call and setting up the faults while other threads use the disk.
//
// Names are whole paths, compared without regard to the case of A to Z; every folder exists. Opens follow the
// rules of access and sharing, handles opened for deletion on close remove their file with the last of them,
// and all of it gives the real error numbers. The clock of the disk moves by 1 ms with each change of a file.
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

    // An empty disk without faults, open handles, hook or log, at 2026-01-02 03:04:05.006 UTC.
    static void reset();

    // Files, past all sharing and faults. `bytes` of a missing file is empty.
    static void put(const std::wstring& path, const std::string& bytes);
    static std::string bytes(const std::wstring& path);
    static bool exists(const std::wstring& path);
    static void erase(const std::wstring& path);
    static std::vector<std::wstring> names();
    // Makes a folder in the place of a file: opening it, removing it and the like fail with error 5.
    static void put_folder(const std::wstring& path);

    // Time: what the next change of a file is stamped with, a file's stamp, and the local clock's distance
    // from UTC.
    static void set_time(std::uint64_t file_time);
    static std::uint64_t write_time(const std::wstring& path);
    static void set_write_time(const std::wstring& path, std::uint64_t file_time);
    static void set_utc_offset_minutes(int minutes);

    // Another process that holds the file open, as if it had opened it with these words of cl/os/file.hpp;
    // the file is made if it isn't there. release ends it.
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
    // Files may grow by n bytes in all from now. The write that needs more takes what fits; then error 112.
    // What is cut off or removed is free again.
    static void set_space(std::uint64_t n);
    // The n-th call from now is the last that works: all later ones fail with `error` and do nothing, and
    // closing only forgets the handle. restart ends that: the handles of the dead process are gone, and so
    // are its files that were opened for deletion on close, unless the power failed.
    static void crash_after(int n, std::uint32_t error = 31);
    static void restart(bool power_failed = false);
    // Ends all faults, but not holders and handles.
    static void clear_faults();

    // Called ahead of each call, without the disk's lock: a test may change the disk or the clock at that
    // moment.
    static void on_call(std::function<void(const file_call&)> hook);

    // Observation.
    static int open_handles();
    static std::vector<file_call> log();
    static int calls(file_op op = file_op::any);
    static void clear_log();
};

} // namespace fakes
