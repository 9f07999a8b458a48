#include "allocations.hpp"

#include <cstdlib>
#include <new>

namespace {

std::size_t count = 0;

} // namespace

std::size_t allocation_count() {
    return count;
}

void* operator new(std::size_t n) {
    ++count;
    if (void* p = std::malloc(n))
        return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
