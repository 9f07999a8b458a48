// Counts the heap allocations of the process. An executable that links allocations.cpp has operator new
// replaced.
#pragma once

#include <cstddef>

std::size_t allocation_count();
