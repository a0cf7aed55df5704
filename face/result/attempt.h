// SPDX-License-Identifier: Apache-2.0
#pragma once

// Where the face's exceptions end: nothing but the want of memory throws in it.

#include "foundation/bytes/MemoryWatch.h"
#include "mimetree/result.hpp"

namespace mimetree::inner {

// Runs `work`, which may throw, and answers what it gives; the error where memory ran out, be
// it in the standard containers or in the engine.
template <class Work>
auto attempt(Work work) noexcept -> decltype(work()) {
    try {
        const MemoryWatch watch;
        auto made = work();
        if (!made || !watch.wasRefused()) return made;
    } catch (...) {
        MemoryWatch::noteRefusal();  // for an operation that this is a part of
    }
    return Error(Errc::out_of_memory, "out of memory");
}

}  // namespace mimetree::inner
