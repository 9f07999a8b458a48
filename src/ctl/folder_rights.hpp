// Who may write to a folder, by its access list.
#pragma once

#include <string>

namespace vfl::ctl {

struct folder_rights {
    bool known = false;        // whether the list could be read
    bool users_write = false;  // any user may add or change files there
    bool system_writes = true; // the service's account may
};

folder_rights read_folder_rights(const std::wstring& path);

} // namespace vfl::ctl
