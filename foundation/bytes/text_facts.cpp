// SPDX-License-Identifier: Apache-2.0

// The one look at a body: the plain forms, and the choice among them and the vectorised ones in
// simd/text_facts.inc.  body_parse.cpp runs it for leaves.

#include "foundation/bytes/text_facts.h"

#include "foundation/simd/vectors.h"

namespace mimetree::inner::text_facts {

namespace scalar {

TextFacts look(const char* p, size_t n) {
    TextFacts facts;
    for (size_t i = 0; i < n; ++i) {
        if (p[i] == '\0') facts.hasZero = true;
        if (static_cast<unsigned char>(p[i]) >= 0x80) facts.isAscii = false;
    }
    return facts;
}

TextFacts copyAndLook(const char* p, size_t n, char* out) {
    if (n != 0) std::memcpy(out, p, n);
    return look(p, n);
}

}  // namespace scalar

namespace {

#define SIMD_KERNELS "foundation/simd/text_facts.inc"
#include "foundation/simd/each_level.inc"

constexpr auto kLook = SIMD_KERNEL(look);
constexpr auto kCopyAndLook = SIMD_KERNEL(copyAndLook);

}  // namespace

TextFacts look(const char* p, size_t n) { return kLook.now()(p, n); }

TextFacts copyAndLook(const char* p, size_t n, char* out) { return kCopyAndLook.now()(p, n, out); }

}  // namespace mimetree::inner::text_facts
