// Libraries that are loaded at run time: everything optional, late or dependent on the version of Windows is
// bound here. One counted record for each library; the library is unloaded with its last binding.
#pragma once

#include "cl/os/mutex.hpp"

#include <atomic>
#include <cstdint>
#include <map>
#include <string>

namespace cl {

// Opaque; null when a library isn't loaded.
using module_handle = void*;

// An exported function of unknown type.
using entry_point = void (*)();

// What the table asks of the system.
struct module_calls {
    module_handle (*load)(const wchar_t* path); // null on failure
    void (*free)(module_handle module);
    entry_point (*find)(module_handle module, const char* function); // null when missing
    // Folders, the system one first; empty when the query fails.
    std::wstring (*system_folder)();
    std::wstring (*windows_folder)();
    // Why the `load` or `find` before it failed on this thread; 0 where that isn't known.
    std::uint32_t (*last_error)() = [] { return std::uint32_t{0}; };
    // As `load`, for a path in one of the two folders: what that library imports must not come from the
    // program's own folder either. Null: `load` will do.
    module_handle (*load_system)(const wchar_t* path) = nullptr;
};

// Any thread may use a table. Names are compared exactly, so that a library under two spellings is two
// records. The table takes its lock across the load and the unload of a library.
class library_table {
public:
    explicit library_table(const module_calls& calls) : calls_(calls) {}
    library_table(const library_table&) = delete;
    library_table& operator=(const library_table&) = delete;

    // Called when the process ends: release_library does nothing while another thread holds the lock, since
    // that thread may be dead.
    void begin_end() { ending_.store(true, std::memory_order_relaxed); }

private:
    friend entry_point bind_entry_point(library_table&, const std::wstring&, const std::string&, bool,
                                        std::uint32_t*);
    friend void release_library(library_table&, const std::wstring&);

    struct record {
        module_handle module = nullptr; // null also when the load failed; the record then stays
        std::uint32_t load_error = 0;   // the system's number in that case
        std::atomic<std::int32_t> references = 1;
    };

    module_handle load_library(const std::wstring& library);

    const module_calls& calls_;
    mutex lock_;
    std::atomic<bool> ending_{false};
    std::map<std::wstring, record> records_;
    // Fetched at the first load from a folder, each with a trailing backslash or empty.
    std::wstring system_folder_, windows_folder_;
    bool folders_known_ = false;
};

// Loads `library` unless it is loaded, and returns the address of `function`, or null. A name with a
// backslash is a path; any other is looked for in the system folder and in the Windows folder, and nowhere
// else. A leading point marks a scrambled name. An address holds one reference on the library, to be given
// back with release_library; so does, unless release_if_missing, a library without the function. A library
// that can't be loaded is not tried again under this name; nothing is to be released then. Where there is no
// address, `error` (null for none) receives the system's number for what failed.
entry_point bind_entry_point(library_table& table, const std::wstring& library, const std::string& function,
                             bool release_if_missing, std::uint32_t* error = nullptr);

// Drops one reference. Does nothing for a name that isn't bound, which is a caller's error.
void release_library(library_table& table, const std::wstring& library);

// The process's table. Usable from create_libraries on, and never destroyed.
extern library_table& libraries;

// Called once, before `main`.
void create_libraries(const module_calls& calls);

// The calls of Windows.
extern const module_calls windows_modules;

} // namespace cl
