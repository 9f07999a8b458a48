#include "guard_page.hpp"

#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

guard_page::guard_page(std::size_t bytes) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t usable = (bytes + page - 1) / page * page;
    size_ = usable + page;
    void* memory = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        std::abort();
    memory_ = static_cast<char*>(memory);
    end_ = memory_ + usable;
    std::memset(memory_, 0x55, usable);
    if (mprotect(end_, page, PROT_NONE) != 0)
        std::abort();
}

guard_page::~guard_page() {
    munmap(memory_, size_);
}
