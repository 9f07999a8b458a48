// Where the program finds its installation and keeps its data. Folders end in a backslash unless empty. All
// of this may be called from any thread; nothing here prints a message.
#pragma once

#include "cl/format/value_text.hpp"

#include <string>

namespace vfl {

// FOLDERID_ProgramData, which all users share.
inline constexpr cl::guid program_data_folder = {
    0x62AB5D82, 0xFDC1, 0x4DC3, {0xA9, 0xDD, 0x07, 0x0D, 0x1D, 0x49, 0x5D, 0x97}};

// Reads the installation folder of `product` from the registry. False, and `out` as it was, when the value is
// missing, empty or no text.
bool read_install_dir(const std::wstring& product, std::wstring& out);

// A known folder of the system; empty on failure.
std::wstring known_folder_path(const cl::guid& folder);

// The folder that all users share for the data of `product`, whether it exists or not; empty when the system
// doesn't know it.
std::wstring data_folder(const std::wstring& product);

// The same folder, created if need be. Empty, so that data files become relative to the current folder, when
// the system doesn't know it.
std::wstring common_data_dir(const std::wstring& product);

// Creates the folder and those above it that are missing; see directory_chain.hpp.
bool create_directory_chain(const std::wstring& path);

} // namespace vfl
