// Who may change the product's folders: SYSTEM and the administrators; users read and run. A folder here is
// the folder itself and the files directly in it; what lies in folders below keeps its rights. Any thread may
// call.
#pragma once

#include <cstdint>
#include <string>

namespace vfl {

struct folder_protection {
    enum class outcome {
        kept,    // nothing was changed
        set,     // owner and access list are set
        is_link, // the folder is a link that somebody else has made: nothing was changed
        failed,
    };
    outcome what = outcome::kept;
    std::uint32_t error = 0; // the system's number, of a failure
};

// Sets owner and access list. A link that an administrator has made is kept. A drive's root is
// kept too. A path ends with or without a backslash.
folder_protection protect_folder(const std::wstring& path);

// The same for a folder that belongs to somebody else than SYSTEM, the administrators or the account of this
// process. Any other folder is kept, and so is one whose owner isn't known.
folder_protection protect_foreign_folder(const std::wstring& path);

} // namespace vfl
