#include "product/rights.hpp"

#include "cl/os/never_destroyed.hpp"
#include "cl/sys/dynamic_entry.hpp"

#include <windows.h>

namespace vfl {

namespace {

struct security_entries {
    cl::dynamic_entry allocate{L"ADVAPI32.DLL", "AllocateAndInitializeSid"};
    cl::dynamic_entry free{L"ADVAPI32.DLL", "FreeSid"};
    cl::dynamic_entry check{L"ADVAPI32.DLL", "CheckTokenMembership"};
};

// Kept to the end of the process. A release would come before the log's last flush, as these are bound after
// the process-wide objects, and unloading a library may block there.
const security_entries& entries() {
    static cl::never_destroyed<security_entries> bound(std::in_place);
    return *bound;
}

} // namespace

bool is_admin() {
    const auto allocate = entries().allocate.as<decltype(&AllocateAndInitializeSid)>();
    const auto free_sid = entries().free.as<decltype(&FreeSid)>();
    const auto check = entries().check.as<decltype(&CheckTokenMembership)>();
    if (!allocate || !free_sid || !check)
        return false;

    SID_IDENTIFIER_AUTHORITY authority = {SECURITY_NT_AUTHORITY};
    PSID administrators = nullptr;
    if (!allocate(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0, 0, 0, 0,
                  &administrators))
        return false;
    BOOL member = FALSE;
    const BOOL asked = check(nullptr, administrators, &member);
    free_sid(administrators);
    return asked && member;
}

} // namespace vfl
