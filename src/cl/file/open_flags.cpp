#include "cl/file/open_flags.hpp"

namespace cl {

namespace {

os::file_disposition disposition_of(std::uint32_t flags) {
    const bool create = flags & open_create;
    const bool truncate = flags & open_truncate;
    if (create && (flags & open_exclusive))
        return os::file_disposition::create_new;
    if (create)
        return truncate ? os::file_disposition::create_always : os::file_disposition::open_always;
    return truncate ? os::file_disposition::truncate_existing : os::file_disposition::open_existing;
}

} // namespace

bool map_open_flags(std::uint32_t flags, std::uint32_t share, os::file_request& request) {
    switch (flags & open_access_mask) {
    case open_read:
        request.access = os::access_read;
        break;
    case open_write:
        request.access = os::access_write;
        break;
    case open_read_write:
        request.access = os::access_read | os::access_write;
        break;
    default:
        return false;
    }
    switch (share & ~share_allow_delete) {
    case share_deny_all:
        request.share = 0;
        break;
    case share_deny_write:
        request.share = os::share_read;
        break;
    case share_deny_read:
        request.share = os::share_write;
        break;
    case share_deny_none:
        request.share = os::share_read | os::share_write;
        break;
    default:
        return false;
    }
    if (share & share_allow_delete)
        request.share |= os::share_delete;

    request.disposition = disposition_of(flags);
    request.inheritable = !(flags & open_no_inherit);
    const bool random = (flags & open_random) && !(flags & open_sequential);
    request.attributes = random ? os::random_access : os::sequential_scan;
    if (flags & open_short_lived)
        request.attributes |= os::attribute_temporary;
    if (flags & open_write_through)
        request.attributes |= os::write_through;
    if (flags & open_temporary) {
        if (!(flags & open_create))
            return false;
        request.attributes |= os::delete_on_close;
        request.access |= os::access_delete;
    }
    return true;
}

} // namespace cl
