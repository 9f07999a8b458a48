// Files, as thin as the system gives them: no buffer, no retry, no text. Every function that can fail returns
// 0 or the error as a Windows number, on every system. A handle belongs to one thread at a time; different
// handles may be used from different threads. Paths are zero-terminated UTF-16; a backslash separates
// folders.
#pragma once

#include "cl/os/error.hpp"

#include <cstdint>

namespace cl::os {

using file_handle = std::uintptr_t;
inline constexpr file_handle invalid_file = ~file_handle{0};

// What an opener asks for. The numbers are those of the Windows calls, which take them as they stand.
inline constexpr std::uint32_t access_read = 0x80000000;
inline constexpr std::uint32_t access_write = 0x40000000;
inline constexpr std::uint32_t access_delete = 0x00010000;

// What an opener lets others do while it holds the file, in this process and in others. An open fails with
// error_sharing if it asks for more than some holder shares, or shares less than some holder uses.
inline constexpr std::uint32_t share_read = 1;
inline constexpr std::uint32_t share_write = 2;
inline constexpr std::uint32_t share_delete = 4;

// Attributes and hints; only delete_on_close and write_through change what happens.
inline constexpr std::uint32_t attribute_temporary = 0x00000100;
inline constexpr std::uint32_t delete_on_close = 0x04000000; // goes when its last handle is closed
inline constexpr std::uint32_t sequential_scan = 0x08000000;
inline constexpr std::uint32_t random_access = 0x10000000;
inline constexpr std::uint32_t write_through = 0x80000000;

enum class file_disposition : std::uint32_t {
    create_new = 1,       // fails with error_exists if the file is there
    create_always = 2,    // empties the file if it is there
    open_existing = 3,    // fails with error_not_found if it isn't there
    open_always = 4,      // creates it if it isn't there
    truncate_existing = 5 // empties it; fails if it isn't there
};

struct file_request {
    std::uint32_t access = 0;
    std::uint32_t share = 0;
    file_disposition disposition = file_disposition::open_existing;
    std::uint32_t attributes = 0;
    bool inheritable = false; // child processes that inherit handles get this one too
};

// Where an offset counts from.
enum seek_origin : std::uint32_t { from_start = 0, from_position = 1, from_end = 2 };

// On failure `file` becomes invalid_file. A folder can't be opened (error_access_denied).
std::uint32_t open_file(const wchar_t* path, const file_request& request, file_handle& file);
std::uint32_t close_file(file_handle file);

// Move up to n bytes at the file's position and advance it; `count` is how many. Fewer than n are no
// error: at the end of the file a read gives 0. On failure `count` is 0.
std::uint32_t read_file(file_handle file, void* buf, std::uint32_t n, std::uint32_t& count);
std::uint32_t write_file(file_handle file, const void* buf, std::uint32_t n, std::uint32_t& count);

// Moves the position to `offset` bytes from a seek_origin, beyond the end too, and returns it in `position`.
// On failure both keep their values.
std::uint32_t seek_file(file_handle file, std::int64_t offset, std::uint32_t origin, std::int64_t& position);

// Cuts or extends the file to its position.
std::uint32_t set_end_of_file(file_handle file);

// Sets space aside, so that the file can grow to `size` bytes without the disk getting full; the file keeps
// its size. What isn't used is free again once the file is cut or closed. error_not_supported where the file
// system can't do that.
std::uint32_t reserve_file(file_handle file, std::int64_t size);

std::uint32_t file_size(file_handle file, std::int64_t& size);

// Time of the last write, in units of 100 ns since 1601-01-01 UTC.
std::uint32_t last_write_time(file_handle file, std::uint64_t& time);

// Makes the present the time of the last write, which closing this handle then doesn't change any more: a
// system may otherwise set that time as late as when a writer closes.
std::uint32_t settle_write_time(file_handle file);

// The same moment in local time, with the difference to UTC that holds now, not the one at that moment.
std::uint32_t to_local_file_time(std::uint64_t utc, std::uint64_t& local);

// Fail with error_sharing while someone holds the file without share_delete. A rename doesn't replace: it
// fails with error_already_exists if `to` is there.
std::uint32_t remove_file(const wchar_t* path);
std::uint32_t rename_file(const wchar_t* from, const wchar_t* to);

} // namespace cl::os
