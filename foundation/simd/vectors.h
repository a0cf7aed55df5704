// SPDX-License-Identifier: Apache-2.0
#pragma once

// What every source with kernels includes first: the intrinsics of the machine's kind, and bits.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "foundation/simd/level.h"

#if defined(SIMD_X86)
#if !defined(__clang__)
// Some intrinsics start from a value that they leave undefined on purpose (GCC bug 105593).
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#if !defined(__clang__)
#pragma GCC diagnostic pop
#endif
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

SIMD_INLINE unsigned highestBit(uint64_t mask) {
    return 63 - static_cast<unsigned>(__builtin_clzll(mask));
}

SIMD_INLINE unsigned countOf(uint64_t mask) {
    return static_cast<unsigned>(__builtin_popcountll(mask));
}

// For each choice among eight bytes, the places of those chosen in order: what moves them
// together where no instruction does.
struct SqueezeTable {
    unsigned char places[256][8];
};

constexpr SqueezeTable makeSqueezeTable() {
    SqueezeTable table{};
    for (unsigned choice = 0; choice < 256; ++choice) {
        unsigned n = 0;
        for (unsigned char i = 0; i < 8; ++i)
            if (choice >> i & 1) table.places[choice][n++] = i;
    }
    return table;
}

inline constexpr SqueezeTable kSqueeze = makeSqueezeTable();

}  // namespace mimetree::inner::simd
