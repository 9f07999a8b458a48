// Registry keys, for reading. Neither class throws; a key belongs to one thread.
#pragma once

#include <cstdint>
#include <string>

namespace cl {

// `handle` of a key that isn't open.
inline constexpr std::uintptr_t no_registry_key = ~std::uintptr_t{0};

// The right to query a key's values and subkeys (KEY_READ).
inline constexpr std::uint32_t registry_read_access = 0x20019;

// A key by the Win32 functions.
class registry_key {
public:
    registry_key() = default;
    ~registry_key() { close(); }
    registry_key(const registry_key&) = delete;
    registry_key& operator=(const registry_key&) = delete;

    // Closes the key if it is open, then opens `subkey` below `root`, an HKEY (null: HKEY_LOCAL_MACHINE), in
    // the registry view of os_info. True when a key is open afterwards.
    bool open(const wchar_t* subkey, void* root, std::uint32_t access);

    // True when there was nothing to close or it worked.
    bool close();

    // Reads a value of exactly `size` bytes and exactly this type. When the size differs, status is 234 (more
    // data); when the type differs, 1. Even then the buffer may have been written to.
    bool read_value(const wchar_t* name, void* buffer, std::uint32_t size, std::uint32_t type);

    // Reads a text of any length. `out` is unchanged on failure; status is 1 when the value is no text.
    bool read_string(const wchar_t* name, std::wstring& out);

    // The same in the ANSI code page. `out` is empty on failure.
    bool read_string_narrow(const wchar_t* name, std::string& out);

    std::uintptr_t handle = no_registry_key; // an HKEY
    std::int32_t status = 0;                 // Win32 error of the last operation
};

// A key by the native functions, which work at any time in the process's life. There is no destructor: a key
// that isn't closed by another `open` stays open.
class nt_registry_key {
public:
    // Closes the key if it is open, then opens `path`: below `root`, another key's handle, or without a root
    // as it is if it begins with "\Registry\", and below "\Registry\Machine\" otherwise. True when a key is
    // open afterwards.
    bool open(const std::wstring& path, void* root, std::uint32_t access);

    // Reads a text, cut at 128 characters without an error. `out` is unchanged on failure.
    bool read_string(const wchar_t* name, std::wstring& out);

    std::uintptr_t handle = no_registry_key;
    std::int32_t status = 0; // NTSTATUS of the last operation
};

} // namespace cl
