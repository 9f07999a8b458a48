#include "guard_page.hpp"

#include <cstdlib>
#include <cstring>
#include <windows.h>

guard_page::guard_page(std::size_t bytes) {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    const std::size_t page = info.dwPageSize;
    const std::size_t usable = (bytes + page - 1) / page * page;
    size_ = usable + page;
    memory_ = static_cast<char*>(VirtualAlloc(nullptr, size_, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    if (memory_ == nullptr)
        std::abort();
    end_ = memory_ + usable;
    std::memset(memory_, 0x55, usable);
    DWORD old;
    if (!VirtualProtect(end_, page, PAGE_NOACCESS, &old))
        std::abort();
}

guard_page::~guard_page() {
    VirtualFree(memory_, 0, MEM_RELEASE);
}
