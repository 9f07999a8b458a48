// The period of the kernel's timer interrupt.
#pragma once

#include "cl/sys/library_table.hpp"

#include <cstdint>
#include <string>

namespace cl {

// Binds two functions of "ntdll.dll" on first use and releases them at its end. For one thread at a time.
class nt_timer_resolution {
public:
    explicit nt_timer_resolution(library_table& table = libraries) : table_(table) {}
    // Releases a held resolution.
    ~nt_timer_resolution();
    nt_timer_resolution(const nt_timer_resolution&) = delete;
    nt_timer_resolution& operator=(const nt_timer_resolution&) = delete;

    // In units of 100 ns; 0 when a function is missing or the query fails.
    std::uint32_t current();

    // Whether a resolution is held. For whoever sets one; this class sets none.
    bool held = false;

private:
    struct entry {
        std::wstring library;
        std::string function;
        entry_point address = nullptr;
    };

    // Tries once. Whether both functions were found.
    bool bind();
    void bind(entry& e) { e.address = bind_entry_point(table_, e.library, e.function, true); }
    void release(entry& e);

    library_table& table_;
    entry set_{L"ntdll.dll", "NtSetTimerResolution"};
    entry query_{L"ntdll.dll", "NtQueryTimerResolution"};
    bool tried_ = false;
    bool found_ = false;
};

} // namespace cl
