#include "cl/sys/os_info.hpp"
#include "cl/sys/registry_key.hpp"
#include "cl/sys/registry_text.hpp"
#include "cl/text/text_convert.hpp"

#include <memory>
#include <windows.h>

namespace cl {

namespace {

// Most values fit; one that doesn't is read again in full.
constexpr DWORD first_try_bytes = 256;

HKEY native(std::uintptr_t handle) {
    return reinterpret_cast<HKEY>(handle);
}

} // namespace

bool registry_key::open(const wchar_t* subkey, void* root, std::uint32_t access) {
    close();
    HKEY key = nullptr;
    status = RegOpenKeyExW(root ? static_cast<HKEY>(root) : HKEY_LOCAL_MACHINE, subkey, 0,
                           access | os_info.registry_view, &key);
    if (status != ERROR_SUCCESS)
        return false;
    handle = reinterpret_cast<std::uintptr_t>(key);
    return true;
}

bool registry_key::close() {
    if (handle == no_registry_key)
        return true;
    status = RegCloseKey(native(handle));
    handle = no_registry_key;
    return status == ERROR_SUCCESS;
}

bool registry_key::read_value(const wchar_t* name, void* buffer, std::uint32_t size, std::uint32_t type) {
    DWORD got_type = 0;
    DWORD got_size = size;
    status =
        RegQueryValueExW(native(handle), name, nullptr, &got_type, static_cast<BYTE*>(buffer), &got_size);
    if (status != ERROR_SUCCESS)
        return false;
    if (got_size != size)
        status = ERROR_MORE_DATA;
    else if (got_type != type)
        status = ERROR_INVALID_FUNCTION;
    return status == ERROR_SUCCESS;
}

bool registry_key::read_string(const wchar_t* name, std::wstring& out) {
    std::byte first[first_try_bytes];
    DWORD type = 0;
    DWORD size = sizeof first;
    status = RegQueryValueExW(native(handle), name, nullptr, &type, reinterpret_cast<BYTE*>(first), &size);
    if (status != ERROR_SUCCESS && status != ERROR_MORE_DATA)
        return false;
    if (!is_registry_text(type)) {
        status = ERROR_INVALID_FUNCTION;
        return false;
    }
    if (status == ERROR_SUCCESS) {
        out = registry_text({first, size});
        return true;
    }

    // Twice what it took, in case the value grows between the calls.
    size *= 2;
    const auto data = std::make_unique<std::byte[]>(size);
    status =
        RegQueryValueExW(native(handle), name, nullptr, nullptr, reinterpret_cast<BYTE*>(data.get()), &size);
    if (status != ERROR_SUCCESS)
        return false;
    out = registry_text({data.get(), size});
    return true;
}

bool registry_key::read_string_narrow(const wchar_t* name, std::string& out) {
    std::wstring text;
    const bool ok = read_string(name, text);
    out = wide_to_narrow(text, 0);
    return ok;
}

} // namespace cl
