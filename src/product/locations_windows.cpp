#include "product/locations.hpp"

#include "cl/os/never_destroyed.hpp"
#include "cl/sys/bound_function.hpp"
#include "cl/sys/registry_key.hpp"
#include "cl/text/string_util.hpp"
#include "product/directory_chain.hpp"

#include <objbase.h>
#include <windows.h>

namespace vfl {

namespace {

class windows_folders final : public folder_system {
public:
    bool is_folder(const std::wstring& path) override {
        const DWORD attributes = GetFileAttributesW(path.c_str());
        return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    }
    bool create_folder(const std::wstring& path) override {
        return CreateDirectoryW(path.c_str(), nullptr) != 0;
    }
};

static_assert(sizeof(cl::guid) == sizeof(GUID));

using known_folder_function = HRESULT(const cl::guid* folder, DWORD flags, HANDLE token, PWSTR* path);

// Kept to the end of the process. A release would come before the log's last flush, as this is bound after
// the process-wide objects, and unloading a library may block there.
const cl::bound_function<known_folder_function>& known_folder_query() {
    static cl::never_destroyed<cl::bound_function<known_folder_function>> bound(std::in_place, L"SHELL32.DLL",
                                                                                "SHGetKnownFolderPath");
    return *bound;
}

} // namespace

bool read_install_dir(const std::wstring& product, std::wstring& out) {
    // Opened here, without the view of the registry that the key class would add.
    cl::registry_key key;
    HKEY opened = nullptr;
    key.status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, (L"Software\\Vexa\\" + product).c_str(), 0,
                               cl::registry_read_access, &opened);
    if (key.status != ERROR_SUCCESS)
        return false;
    key.handle = reinterpret_cast<std::uintptr_t>(opened);

    std::wstring text;
    if (!key.read_string(L"install_dir", text) || text.empty())
        return false;
    out = cl::with_backslash(std::move(text));
    return true;
}

std::wstring known_folder_path(const cl::guid& folder) {
    const auto& query = known_folder_query();
    if (!query)
        return {};
    PWSTR found = nullptr;
    std::wstring path;
    if (SUCCEEDED(query(&folder, 0, nullptr, &found)) && found)
        path = cl::with_backslash(found);
    // Allowed for null, and needed after a failure as well.
    CoTaskMemFree(found);
    return path;
}

std::wstring data_folder(const std::wstring& product) {
    const std::wstring path = known_folder_path(program_data_folder);
    return path.empty() ? path : path + L"Vexa\\" + product + L"\\";
}

std::wstring common_data_dir(const std::wstring& product) {
    std::wstring path = data_folder(product);
    // A failure shows when files can't be written.
    if (!path.empty())
        create_directory_chain(path);
    return path;
}

bool create_directory_chain(const std::wstring& path) {
    windows_folders disk;
    return create_directory_chain(path, disk);
}

} // namespace vfl
