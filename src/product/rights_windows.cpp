#include "product/rights.hpp"

#include "cl/os/never_destroyed.hpp"
#include "cl/sys/bound_function.hpp"

#include <windows.h>

namespace vfl {

namespace {

struct security_entries {
    cl::bound_function<decltype(AllocateAndInitializeSid)> allocate{L"ADVAPI32.DLL",
                                                                    "AllocateAndInitializeSid"};
    cl::bound_function<decltype(FreeSid)> free_sid{L"ADVAPI32.DLL", "FreeSid"};
    cl::bound_function<decltype(CheckTokenMembership)> check{L"ADVAPI32.DLL", "CheckTokenMembership"};
};

// Kept to the end of the process. A release would come before the log's last flush, as these are bound after
// the process-wide objects, and unloading a library may block there.
const security_entries& entries() {
    static cl::never_destroyed<security_entries> bound(std::in_place);
    return *bound;
}

} // namespace

bool is_admin() {
    const security_entries& calls = entries();
    if (!calls.allocate || !calls.free_sid || !calls.check)
        return false;

    SID_IDENTIFIER_AUTHORITY authority = {SECURITY_NT_AUTHORITY};
    PSID administrators = nullptr;
    if (!calls.allocate(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0, 0, 0, 0,
                        &administrators))
        return false;
    BOOL member = FALSE;
    const BOOL asked = calls.check(nullptr, administrators, &member);
    calls.free_sid(administrators);
    return asked && member;
}

} // namespace vfl
