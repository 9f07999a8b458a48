#include "ctl/message_page.hpp"

#include "ctl/resources.h"

#include <windows.h>

namespace vfl::ctl {

std::string_view message_page_resource() {
    const HRSRC found =
        FindResourceW(nullptr, MAKEINTRESOURCEW(VFLCTL_MESSAGES), MAKEINTRESOURCEW(10)); // RT_RCDATA
    const HGLOBAL loaded = found ? LoadResource(nullptr, found) : nullptr;
    const void* const bytes = loaded ? LockResource(loaded) : nullptr;
    return bytes ? std::string_view(static_cast<const char*>(bytes), SizeofResource(nullptr, found))
                 : std::string_view();
}

} // namespace vfl::ctl
