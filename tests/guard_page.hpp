// Memory that ends at an inaccessible page: a read or a write past its end ends the test program.
#pragma once

#include <cstddef>
#include <type_traits>

class guard_page {
public:
    // At least `bytes` of memory, filled with 0x55, before the inaccessible page.
    explicit guard_page(std::size_t bytes = 4096);
    ~guard_page();
    guard_page(const guard_page&) = delete;
    guard_page& operator=(const guard_page&) = delete;

    // Room for n objects that ends exactly at the inaccessible page.
    template <class T>
    T* last(std::size_t n) const {
        static_assert(std::is_trivially_copyable_v<T>);
        return reinterpret_cast<T*>(end_ - n * sizeof(T));
    }

private:
    char* memory_;
    char* end_;
    std::size_t size_; // with the inaccessible page
};
