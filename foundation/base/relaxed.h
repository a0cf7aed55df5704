// SPDX-License-Identifier: Apache-2.0
#pragma once

// Notes that several threads may leave in the same place at once, since nothing hangs on them.

#include <atomic>

namespace mimetree::inner {

template <class T>
void storeRelaxed(T& place, T value) {
#if defined(__cpp_lib_atomic_ref)
    std::atomic_ref<T>(place).store(value, std::memory_order_relaxed);
#else  // libc++ has none before its release 19
    __atomic_store_n(&place, value, __ATOMIC_RELAXED);
#endif
}

}  // namespace mimetree::inner
