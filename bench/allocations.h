// SPDX-License-Identifier: Apache-2.0
#pragma once

// Counts what a program takes from the heap.  Linking allocations.cpp is enough (glibc).

#include <cstddef>

struct Allocations {
    size_t taken = 0;     // calls of malloc, calloc and operator new
    size_t enlarged = 0;  // calls of realloc on a block
    size_t bytes = 0;     // held now, as the allocator rounds them up
    size_t peak = 0;      // most bytes held since the last restart
};

// The counts since the last restart; `bytes` and `peak` are what is held beyond that moment.
Allocations allocations();
void restartAllocations();
