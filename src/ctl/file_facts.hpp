// What Windows says of files: versions, and who holds them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vfl::ctl {

enum class path_kind { missing, file, folder };
path_kind kind_of(const std::wstring& path);

// "11.10.2483" of the file's version resource, its last number left out; empty without one.
std::wstring file_version(const std::wstring& path);

// The programs that hold the file open, with their process numbers.
std::vector<std::wstring> file_holders(const std::wstring& path);

// Bytes that are free for this user on the folder's drive; 0 when that can't be had.
std::uint64_t free_space(const std::wstring& folder);

} // namespace vfl::ctl
