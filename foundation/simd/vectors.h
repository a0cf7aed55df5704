// SPDX-License-Identifier: Apache-2.0
#pragma once

// What every source with kernels includes first: the intrinsics of the machine's kind, and bits.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "foundation/simd/level.h"

#if defined(SIMD_X86)
#include <immintrin.h>
#elif defined(SIMD_NEON)
#include <arm_neon.h>
#endif

#define SIMD_INLINE __attribute__((always_inline)) inline

namespace mimetree::inner::simd {

SIMD_INLINE unsigned lowestBit(uint64_t mask) {
    return static_cast<unsigned>(__builtin_ctzll(mask));
}

// Ones in the n lowest places, n <= 64.
SIMD_INLINE uint64_t lowBits(size_t n) { return n >= 64 ? ~uint64_t{0} : (uint64_t{1} << n) - 1; }

}  // namespace mimetree::inner::simd
