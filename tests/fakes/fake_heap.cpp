#include "fakes/fake_heap.hpp"

#include <cstdlib>
#include <new>

namespace {

thread_local long left = -1;
thread_local std::size_t bytes = 0;

} // namespace

void fakes::fail_allocation_after(long count) {
    left = count;
}

std::size_t fakes::allocated_bytes() {
    return bytes;
}

// All forms, or a sanitizer's own would serve the others.
void* operator new(std::size_t n, const std::nothrow_t&) noexcept {
    bytes += n;
    return left >= 0 && left-- == 0 ? nullptr : std::malloc(n ? n : 1);
}
void* operator new(std::size_t n) {
    if (void* const p = operator new(n, std::nothrow))
        return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t n) {
    return operator new(n);
}
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept {
    return operator new(n, std::nothrow);
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    std::free(p);
}
