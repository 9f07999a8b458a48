#include "product/rights.hpp"

#include "cl/sys/dynamic_entry.hpp"

#include <windows.h>

namespace vfl {

namespace {

struct security_entries {
    cl::dynamic_entry allocate{L"ADVAPI32.DLL", "AllocateAndInitializeSid"};
    cl::dynamic_entry free{L"ADVAPI32.DLL", "FreeSid"};
    cl::dynamic_entry check{L"ADVAPI32.DLL", "CheckTokenMembership"};
};

// The bindings live as long as the process and give their library back at the end.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpragmas"
#pragma GCC diagnostic ignored "-Wexit-time-destructors"
const security_entries& entries() {
    static const security_entries bound;
    return bound;
}
#pragma GCC diagnostic pop

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
