#include "product/folder_protection.hpp"

#include <array>
#include <vector>
#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

namespace vfl {

namespace {

// Owner: the administrators. Inherited from nothing, and by everything that is made in the folder.
constexpr wchar_t folder_rights[] = L"O:BAD:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;0x1200a9;;;BU)";
constexpr wchar_t file_rights[] = L"O:BAD:P(A;;FA;;;SY)(A;;FA;;;BA)(A;;0x1200a9;;;BU)";

class handle {
public:
    explicit handle(HANDLE h) : h_(h) {}
    ~handle() {
        if (*this)
            CloseHandle(h_);
    }
    handle(const handle&) = delete;
    handle& operator=(const handle&) = delete;
    explicit operator bool() const { return h_ && h_ != INVALID_HANDLE_VALUE; }
    HANDLE get() const { return h_; }

private:
    HANDLE h_;
};

// The file or folder itself, never what a link leads to: otherwise a user could make the service change the
// rights of any file. Nobody can rename or remove it while it is open.
handle open_itself(const std::wstring& path) {
    return handle(CreateFileW(path.c_str(), READ_CONTROL | WRITE_DAC | WRITE_OWNER | FILE_READ_ATTRIBUTES,
                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                              FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
}

// What lets an administrator into a folder whose list leaves him out, for the time of one call. Where the
// account lacks them, the calls fail by their own numbers.
class owner_privileges {
public:
    owner_privileges() {
        HANDLE token = nullptr;
        if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token))
            return;
        token_ = token;
        wanted_.count = static_cast<DWORD>(wanted_.entries.size());
        LUID_AND_ATTRIBUTES* entry = wanted_.entries.data();
        for (const wchar_t* const name : {SE_BACKUP_NAME, SE_RESTORE_NAME, SE_TAKE_OWNERSHIP_NAME}) {
            LookupPrivilegeValueW(nullptr, name, &entry->Luid);
            entry->Attributes = SE_PRIVILEGE_ENABLED;
            ++entry;
        }
        DWORD size = sizeof before_;
        AdjustTokenPrivileges(token_, FALSE, reinterpret_cast<TOKEN_PRIVILEGES*>(&wanted_), size,
                              reinterpret_cast<TOKEN_PRIVILEGES*>(&before_), &size);
    }
    ~owner_privileges() {
        if (!token_)
            return;
        AdjustTokenPrivileges(token_, FALSE, reinterpret_cast<TOKEN_PRIVILEGES*>(&before_), 0, nullptr,
                              nullptr);
        CloseHandle(token_);
    }
    owner_privileges(const owner_privileges&) = delete;
    owner_privileges& operator=(const owner_privileges&) = delete;

private:
    struct list { // TOKEN_PRIVILEGES with room for all
        DWORD count = 0;
        std::array<LUID_AND_ATTRIBUTES, 3> entries{};
    };
    HANDLE token_ = nullptr;
    list wanted_, before_;
};

bool is_own_account(PSID sid) {
    HANDLE opened = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened))
        return false;
    const handle token(opened);
    alignas(TOKEN_USER) unsigned char room[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof room;
    return GetTokenInformation(opened, TokenUser, room, size, &size) &&
           EqualSid(reinterpret_cast<TOKEN_USER*>(room)->User.Sid, sid);
}

bool is_foreign(HANDLE file) {
    PSID owner = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (GetSecurityInfo(file, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr, nullptr,
                        &descriptor) != ERROR_SUCCESS)
        return false;
    const bool foreign = !IsWellKnownSid(owner, WinLocalSystemSid) &&
                         !IsWellKnownSid(owner, WinBuiltinAdministratorsSid) && !is_own_account(owner);
    LocalFree(descriptor);
    return foreign;
}

std::uint32_t set_rights(HANDLE file, const wchar_t* text) {
    PSECURITY_DESCRIPTOR rights = nullptr;
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(text, SDDL_REVISION_1, &rights, nullptr))
        return GetLastError();
    // Deliberately the call that leaves everything below the folder as it is.
    const BOOL done = SetKernelObjectSecurity(
        file, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION,
        rights);
    const std::uint32_t error = done ? 0 : GetLastError();
    LocalFree(rights);
    return error;
}

// Files under a second name stay as they are: it may be the name of a file of Windows.
std::uint32_t protect_file(const std::wstring& path) {
    const handle file = open_itself(path);
    BY_HANDLE_FILE_INFORMATION facts{};
    if (!file || !GetFileInformationByHandle(file.get(), &facts))
        return GetLastError();
    if ((facts.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 || facts.nNumberOfLinks != 1)
        return 0;
    return set_rights(file.get(), file_rights);
}

// The first error, after all files.
std::uint32_t protect_files(const std::wstring& folder) {
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE)
        return GetLastError();
    std::uint32_t first = 0;
    do {
        if ((entry.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) != 0)
            continue;
        const std::uint32_t error = protect_file(folder + L"\\" + entry.cFileName);
        if (error != ERROR_FILE_NOT_FOUND && first == 0)
            first = error;
    } while (FindNextFileW(search, &entry));
    FindClose(search);
    return first;
}

folder_protection protect(std::wstring path, bool only_foreign) {
    using enum folder_protection::outcome;
    while (path.ends_with(L'\\'))
        path.pop_back();
    if (path.size() <= 2) // a drive belongs to more than this product
        return {};
    const owner_privileges raised;
    const handle folder = open_itself(path);
    BY_HANDLE_FILE_INFORMATION facts{};
    if (!folder || !GetFileInformationByHandle(folder.get(), &facts))
        return {failed, GetLastError()};
    const bool link = (facts.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    const bool foreign = is_foreign(folder.get());
    if (!foreign && (only_foreign || link))
        return {};
    if (link)
        return {is_link, 0};
    if (const std::uint32_t error = set_rights(folder.get(), folder_rights))
        return {failed, error};
    // From now on nobody else can put a link in a file's place.
    if (const std::uint32_t error = protect_files(path))
        return {failed, error};
    return {set, 0};
}

} // namespace

folder_protection protect_folder(const std::wstring& path) {
    return protect(path, false);
}

folder_protection protect_foreign_folder(const std::wstring& path) {
    return protect(path, true);
}

} // namespace vfl
