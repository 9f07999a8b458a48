// Creates a folder together with those above it.
#pragma once

#include <string>

namespace vfl {

// What the walk asks of the disk.
class folder_system {
public:
    virtual bool is_folder(const std::wstring& path) = 0;
    // False also when the folder exists.
    virtual bool create_folder(const std::wstring& path) = 0;

protected:
    ~folder_system() = default;
};

// True when the whole path exists as folders afterwards; this includes an empty path and a bare root. A
// folder that another process creates at the same moment counts as a failure. The server of a path that
// begins with two backslashes is taken for a folder, so that such a path fails unless the system knows the
// server as one.
bool create_directory_chain(const std::wstring& path, folder_system& disk);

} // namespace vfl
