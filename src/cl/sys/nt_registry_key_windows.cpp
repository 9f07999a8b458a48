#include "cl/sys/registry_key.hpp"
#include "cl/sys/registry_text.hpp"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <windows.h>
#include <winternl.h>

// Exports of ntdll that the headers don't declare.
extern "C" {
NTSYSAPI NTSTATUS NTAPI NtOpenKey(HANDLE* key, ACCESS_MASK access, OBJECT_ATTRIBUTES* attributes);
NTSYSAPI NTSTATUS NTAPI NtQueryValueKey(HANDLE key, UNICODE_STRING* name, int information_class,
                                        void* information, ULONG length, ULONG* result_length);
}

namespace cl {

namespace {

constexpr std::wstring_view registry_root = L"\\Registry\\";
constexpr std::wstring_view machine_root = L"\\Registry\\Machine\\";

constexpr ULONG open_attributes = 0x240; // case-insensitive, kernel handle

constexpr int partial_information = 2;
struct value_header {
    ULONG title_index, type, data_length;
};

// The texts that are read this way are cut here.
constexpr std::size_t kept_bytes = 256;

constexpr NTSTATUS object_type_mismatch = static_cast<NTSTATUS>(0xC0000024);
constexpr NTSTATUS name_not_found = static_cast<NTSTATUS>(0xC0000034);
constexpr NTSTATUS name_too_long = static_cast<NTSTATUS>(0xC0000106);

// False when the text is longer than such a record can hold.
bool make_name(std::wstring_view text, UNICODE_STRING& name) {
    const std::size_t bytes = text.size() * sizeof(wchar_t);
    if (bytes > 0xFFFC)
        return false;
    name.Length = name.MaximumLength = static_cast<USHORT>(bytes);
    name.Buffer = const_cast<wchar_t*>(text.data());
    return true;
}

HANDLE native(std::uintptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

} // namespace

bool nt_registry_key::open(const std::wstring& path, void* root, std::uint32_t access) {
    if (handle != no_registry_key)
        NtClose(native(handle));
    handle = no_registry_key;

    std::wstring full;
    if (!root && !path.starts_with(registry_root))
        full = machine_root;
    full += path;
    UNICODE_STRING name{};
    if (!make_name(full, name)) {
        status = name_too_long;
        return false;
    }
    OBJECT_ATTRIBUTES attributes{};
    attributes.Length = sizeof attributes;
    attributes.RootDirectory = root;
    attributes.Attributes = open_attributes;
    attributes.ObjectName = &name;
    HANDLE key = nullptr;
    status = NtOpenKey(&key, access, &attributes);
    if (status < 0)
        return false;
    handle = reinterpret_cast<std::uintptr_t>(key);
    return true;
}

bool nt_registry_key::read_string(const wchar_t* name, std::wstring& out) {
    UNICODE_STRING value{};
    if (!make_name(name, value)) {
        status = name_too_long;
        return false;
    }
    ULONG size = 0;
    status = NtQueryValueKey(native(handle), &value, partial_information, nullptr, 0, &size);
    if (status == name_not_found)
        return false;

    const auto information = std::make_unique<std::byte[]>(size);
    status = NtQueryValueKey(native(handle), &value, partial_information, information.get(), size, &size);
    if (status < 0)
        return false;
    value_header header{};
    std::copy_n(information.get(), sizeof header, reinterpret_cast<std::byte*>(&header));
    if (!is_registry_text(header.type)) {
        status = object_type_mismatch;
        return false;
    }
    out = registry_text(
        {information.get() + sizeof header, std::min<std::size_t>(header.data_length, kept_bytes)});
    return true;
}

} // namespace cl
