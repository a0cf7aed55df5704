// SPDX-License-Identifier: Apache-2.0

// Stands in front of glibc's allocator.  One thread is measured at a time.

#include "allocations.h"

#include <malloc.h>

#include <algorithm>

extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void __libc_free(void*);
}

namespace {

Allocations g_counts;
size_t g_before;

void* noted(void* block) {
    if (block) g_counts.bytes += malloc_usable_size(block);
    g_counts.peak = std::max(g_counts.peak, g_counts.bytes);
    return block;
}

}  // namespace

extern "C" {

void* malloc(size_t n) {
    ++g_counts.taken;
    return noted(__libc_malloc(n));
}

void* calloc(size_t n, size_t each) {
    ++g_counts.taken;
    return noted(__libc_calloc(n, each));
}

void* realloc(void* block, size_t n) {
    ++(block ? g_counts.enlarged : g_counts.taken);
    if (block) g_counts.bytes -= malloc_usable_size(block);
    return noted(__libc_realloc(block, n));
}

void free(void* block) {
    if (block) g_counts.bytes -= malloc_usable_size(block);
    __libc_free(block);
}
}

Allocations allocations() {
    Allocations now = g_counts;
    now.bytes -= g_before;
    now.peak -= g_before;
    return now;
}

void restartAllocations() {
    g_before = g_counts.bytes;
    g_counts = {0, 0, g_before, g_before};
}
