#include "ctl/folder_rights.hpp"

#include <span>
#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

namespace vfl::ctl {

namespace {

constexpr DWORD writing =
    FILE_ADD_FILE | FILE_ADD_SUBDIRECTORY | WRITE_DAC | WRITE_OWNER | GENERIC_WRITE | GENERIC_ALL;

// Whether an entry of the list is for one of these well-known groups and accounts.
bool is_for(PSID sid, std::span<const wchar_t* const> names) {
    LPWSTR text = nullptr;
    if (!ConvertSidToStringSidW(sid, &text))
        return false;
    bool found = false;
    for (const wchar_t* name : names)
        found = found || lstrcmpW(text, name) == 0;
    LocalFree(text);
    return found;
}

// What the list allows them, less what it denies them before.
DWORD granted(PACL list, std::span<const wchar_t* const> names) {
    DWORD allowed = 0, denied = 0;
    for (DWORD i = 0; i < list->AceCount; ++i) {
        void* entry = nullptr;
        if (!GetAce(list, i, &entry))
            continue;
        const auto* const header = static_cast<const ACE_HEADER*>(entry);
        if (header->AceFlags & INHERIT_ONLY_ACE)
            continue;
        auto* const ace = static_cast<ACCESS_ALLOWED_ACE*>(entry); // a denying one has the same shape
        if (header->AceType == ACCESS_ALLOWED_ACE_TYPE && is_for(&ace->SidStart, names))
            allowed |= ace->Mask & ~denied;
        else if (header->AceType == ACCESS_DENIED_ACE_TYPE && is_for(&ace->SidStart, names))
            denied |= ace->Mask;
    }
    return allowed;
}

} // namespace

folder_rights read_folder_rights(const std::wstring& path) {
    folder_rights rights;
    PACL list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    std::wstring name = path;
    while (name.size() > 3 && name.back() == L'\\')
        name.pop_back();
    if (GetNamedSecurityInfoW(name.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &list,
                              nullptr, &descriptor) != ERROR_SUCCESS)
        return rights;
    rights.known = true;
    // Users, everyone, all who have logged on, and those at the console. Without a list everybody may do
    // everything.
    constexpr const wchar_t* users[] = {L"S-1-5-32-545", L"S-1-1-0", L"S-1-5-11", L"S-1-5-4"};
    // The account of the service, and the groups that it belongs to.
    constexpr const wchar_t* system[] = {L"S-1-5-18", L"S-1-5-32-544", L"S-1-1-0", L"S-1-5-11"};
    rights.users_write = !list || (granted(list, users) & writing) != 0;
    rights.system_writes =
        !list || (granted(list, system) & (FILE_ADD_FILE | GENERIC_WRITE | GENERIC_ALL)) != 0;
    LocalFree(descriptor);
    return rights;
}

} // namespace vfl::ctl
