// The words with which files are opened, after those of the run-time library, and what they ask of the
// system.
#pragma once

#include "cl/os/file.hpp"

#include <cstdint>

namespace cl {

// Bits of the `flags` word. Those of the run-time library that are not named here (0x4000 text and 0x8000
// binary among them) have no effect.
enum open_flags : std::uint32_t {
    open_read = 0,
    open_write = 1,
    open_read_write = 2,
    open_access_mask = 3, // the bits of the three above; as a value it is refused
    open_append = 0x0008,
    open_random = 0x0010,
    open_sequential = 0x0020, // the default; wins over open_random
    open_temporary = 0x0040,  // deleted on close; refused without open_create
    open_no_inherit = 0x0080,
    open_create = 0x0100,
    open_truncate = 0x0200,
    open_exclusive = 0x0400, // with open_create: fails if the file is there
    open_short_lived = 0x1000,
    open_write_through = 0x10000,
};

// Values of the `share` word: what others may do meanwhile. All others are refused.
enum share_words : std::uint32_t {
    share_deny_all = 16,
    share_deny_write = 32, // others may read
    share_deny_read = 48,  // others may write
    share_deny_none = 64,
    share_allow_delete = 0x100, // added to one of the four
};

// False if a combination is refused; `request` is then unspecified.
bool map_open_flags(std::uint32_t flags, std::uint32_t share, os::file_request& request);

} // namespace cl
