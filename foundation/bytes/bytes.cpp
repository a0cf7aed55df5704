// SPDX-License-Identifier: Apache-2.0

// Byte loops: substring search and runs of ASCII.  The plain forms stand here, the vectorised
// ones in simd/scan.inc.

#include "foundation/bytes/bytes.h"

#include "foundation/simd/vectors.h"

namespace mimetree::inner::bytes {

namespace scalar {

const char* find(const char* p, size_t n, const char* needle, size_t m) {
    if (m == 0) return p;
    for (size_t i = 0; n >= m && i <= n - m; ++i)
        if (p[i] == needle[0] && std::memcmp(p + i, needle, m) == 0) return p + i;
    return nullptr;
}

const char* findPair(const char* p, size_t n, char c) {
    for (size_t i = 1; i < n; ++i)
        if (p[i] == c && p[i - 1] == c) return p + i - 1;
    return nullptr;
}

size_t asciiRun(const char* p, size_t n) {
    size_t i = 0;
    while (i < n && static_cast<unsigned char>(p[i]) < 0x80) ++i;
    return i;
}

}  // namespace scalar

namespace {

const char* findByte(const char* p, size_t n, char c) {
    return n ? static_cast<const char*>(std::memchr(p, c, n)) : nullptr;
}

// Rabin, Karp (1987): compares a rolling hash of m bytes at each place, so that the cost does
// not depend on how much of the needle the text repeats.
const char* findByHash(const char* p, size_t n, const char* needle, size_t m) {
    constexpr uint64_t kBase = 0x9E3779B97F4A7C15u;  // odd; hashes are modulo 2^64
    const auto byteAt = [](const char* s, size_t i) { return uint64_t(uint8_t(s[i])) + 1; };
    uint64_t wanted = 0, hash = 0, leading = 1;
    for (size_t i = 0; i < m; ++i) {
        wanted = wanted * kBase + byteAt(needle, i);
        hash = hash * kBase + byteAt(p, i);
        if (i) leading *= kBase;
    }
    for (size_t i = 0;; ++i) {
        if (hash == wanted && std::memcmp(p + i, needle, m) == 0) return p + i;
        if (i == n - m) return nullptr;
        hash = (hash - byteAt(p, i) * leading) * kBase + byteAt(p, i + m);
    }
}

}  // namespace

namespace {

#define SIMD_KERNELS "foundation/simd/scan.inc"
#include "foundation/simd/each_level.inc"

constexpr auto kFind = SIMD_KERNEL_OVER(findByHash, find);
constexpr auto kFindPair = SIMD_KERNEL(findPair);
constexpr auto kAsciiRun = SIMD_KERNEL(asciiRun);

}  // namespace

const char* find(const char* p, size_t n, const char* needle, size_t m) {
    if (m < 2) return m ? findByte(p, n, needle[0]) : p;
    return n < m ? nullptr : kFind.now()(p, n, needle, m);
}

const char* findPair(const char* p, size_t n, char c) { return kFindPair.now()(p, n, c); }

size_t asciiRun(const char* p, size_t n) { return kAsciiRun.now()(p, n); }

namespace {

// Eight bytes, ASCII letters among them in lower case: adding makes the high bit of those from
// "A" on, and of those behind "Z".
uint64_t lowerWord(const char* p) {
    constexpr uint64_t kEach = 0x0101010101010101u;
    uint64_t word;
    std::memcpy(&word, p, sizeof word);
    const uint64_t low = word & kEach * 0x7F;
    const uint64_t fromA = low + kEach * (0x80 - 'A'), behindZ = low + kEach * (0x7F - 'Z');
    return word | (fromA & ~behindZ & ~word & kEach * 0x80) >> 2;
}

}  // namespace

bool equalIgnoreCase(const char* a, const char* b, size_t n) {
    size_t i = 0;
    for (; n - i >= 8; i += 8)
        if (lowerWord(a + i) != lowerWord(b + i)) return false;
    for (; i < n; ++i)
        if (lower(a[i]) != lower(b[i])) return false;
    return true;
}

const char* findIgnoreCase(const char* p, size_t n, const char* needle, size_t m) {
    if (m == 0) return p;
    const char first = lower(needle[0]);
    for (; n >= m; ++p, --n)
        if (lower(*p) == first && equalIgnoreCase(p, needle, m)) return p;
    return nullptr;
}

}  // namespace mimetree::inner::bytes
