// The heap of the process, with an operator new that can be made to fail. An executable that links
// fake_heap.cpp has it replaced.
#pragma once

#include <cstddef>

namespace fakes {

// After `count` more allocations of the calling thread the next one fails, once. -1: none does.
void fail_allocation_after(long count);
// Bytes that the calling thread has asked for.
std::size_t allocated_bytes();

} // namespace fakes
