// The log and its one old generation on the disk. A value without a lock: whoever changes it shares a new
// one.
#pragma once

#include "cl/file/file_hnd.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace cl {

class log_files {
public:
    // Where the log is written; empty if nowhere.
    std::wstring path;
    // The size in bytes above which a flush rotates.
    std::uint64_t max_size = 0;
    // Whether each write goes to the disk, past the system's cache, before it returns.
    bool write_through = false;

    // Where a rotation puts the log. With an empty path there is none.
    void set_old_path(const std::wstring& new_old_path);
    bool can_rotate() const { return !old_path.empty(); }

    // Opens the log, or begins it. Others may read it meanwhile, and not write it.
    bool open(file_hnd& file) const;
    // Closes the log and makes it the old generation. What was there goes; a program that reads it with full
    // sharing keeps it, under another name, until it is done. A log that can't be renamed is deleted, so that
    // the limit holds, and the old generation stays. Takes no heap.
    void rotate(file_hnd& file) const;

private:
    const wchar_t* put_aside() const;

    std::wstring old_path;
    std::vector<std::wstring> aside; // names for an old generation on its way out
};

} // namespace cl
