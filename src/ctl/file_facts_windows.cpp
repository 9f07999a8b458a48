#include "ctl/file_facts.hpp"

#include "cl/format/text.hpp"
#include "cl/sys/bound_function.hpp"

#include <windows.h>

#include <restartmanager.h>

namespace vfl::ctl {

path_kind kind_of(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes == INVALID_FILE_ATTRIBUTES     ? path_kind::missing
           : (attributes & FILE_ATTRIBUTE_DIRECTORY) ? path_kind::folder
                                                     : path_kind::file;
}

std::wstring file_version(const std::wstring& path) {
    const cl::bound_function<DWORD(LPCWSTR, LPDWORD)> size_of(L"VERSION.DLL", "GetFileVersionInfoSizeW");
    const cl::bound_function<BOOL(LPCWSTR, DWORD, DWORD, LPVOID)> read(L"VERSION.DLL", "GetFileVersionInfoW");
    const cl::bound_function<BOOL(LPCVOID, LPCWSTR, LPVOID*, PUINT)> query(L"VERSION.DLL", "VerQueryValueW");
    if (!size_of || !read || !query)
        return {};
    DWORD ignored = 0;
    const DWORD size = size_of(path.c_str(), &ignored);
    std::vector<std::uint64_t> block(size / sizeof(std::uint64_t) + 1);
    void* found = nullptr;
    UINT length = 0;
    if (size == 0 || !read(path.c_str(), 0, size, block.data()) ||
        !query(block.data(), L"\\", &found, &length) || length < sizeof(VS_FIXEDFILEINFO))
        return {};
    const auto& info = *static_cast<const VS_FIXEDFILEINFO*>(found);
    return cl::text(L"%?.%?.%?", info.dwFileVersionMS >> 16, info.dwFileVersionMS & 0xFFFF,
                    info.dwFileVersionLS >> 16);
}

std::vector<std::wstring> file_holders(const std::wstring& path) {
    std::vector<std::wstring> holders;
    const cl::bound_function<DWORD(DWORD*, DWORD, WCHAR*)> begin(L"RSTRTMGR.DLL", "RmStartSession");
    const cl::bound_function<DWORD(DWORD, UINT, LPCWSTR*, UINT, RM_UNIQUE_PROCESS*, UINT, LPCWSTR*)> add(
        L"RSTRTMGR.DLL", "RmRegisterResources");
    const cl::bound_function<DWORD(DWORD, UINT*, UINT*, RM_PROCESS_INFO*, LPDWORD)> list(L"RSTRTMGR.DLL",
                                                                                         "RmGetList");
    const cl::bound_function<DWORD(DWORD)> end(L"RSTRTMGR.DLL", "RmEndSession");
    DWORD session = 0;
    WCHAR key[CCH_RM_SESSION_KEY + 1] = {};
    if (!begin || !add || !list || !end || begin(&session, 0, key) != ERROR_SUCCESS)
        return holders;
    LPCWSTR name = path.c_str();
    UINT needed = 0, count = 0;
    DWORD reasons = 0;
    if (add(session, 1, &name, 0, nullptr, 0, nullptr) == ERROR_SUCCESS &&
        list(session, &needed, &count, nullptr, &reasons) == ERROR_MORE_DATA) {
        std::vector<RM_PROCESS_INFO> found(needed);
        count = needed;
        if (list(session, &needed, &count, found.data(), &reasons) == ERROR_SUCCESS)
            for (UINT i = 0; i < count; ++i)
                holders.push_back(std::wstring(found[i].strAppName) + L" (process " +
                                  std::to_wstring(found[i].Process.dwProcessId) + L")");
    }
    end(session);
    return holders;
}

std::uint64_t free_space(const std::wstring& folder) {
    ULARGE_INTEGER bytes{};
    return GetDiskFreeSpaceExW(folder.c_str(), &bytes, nullptr, nullptr) ? bytes.QuadPart : 0;
}

} // namespace vfl::ctl
