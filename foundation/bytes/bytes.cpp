// SPDX-License-Identifier: Apache-2.0

// Byte loops: substring search and runs of ASCII.  The SSE2 forms stand behind the same names
// as the plain ones; SSE2 is part of every x86-64 processor, so nothing is chosen at run time.

#include "foundation/bytes/bytes.h"

#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace mimetree::inner::bytes {

namespace scalar {

const char* find(const char* p, size_t n, const char* needle, size_t m) {
    if (m == 0) return p;
    for (size_t i = 0; n >= m && i <= n - m; ++i)
        if (p[i] == needle[0] && std::memcmp(p + i, needle, m) == 0) return p + i;
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

#if defined(__SSE2__)

namespace {

__m128i load16(const char* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

unsigned equalMask(const char* p, __m128i byte) {
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(load16(p), byte)));
}

unsigned highMask(const char* p) { return static_cast<unsigned>(_mm_movemask_epi8(load16(p))); }

unsigned lowestBit(unsigned mask) { return static_cast<unsigned>(__builtin_ctz(mask)); }

}  // namespace

// Compares the needle's first and last byte at 16 places at a time, and the whole needle only
// where both fit.  Limit: a text that repeats most of the needle everywhere would make that
// n * m; once more bytes were compared than the text has, the rest is searched by hash.
const char* find(const char* p, size_t n, const char* needle, size_t m) {
    if (m < 2) return m ? findByte(p, n, needle[0]) : p;
    if (n < m) return nullptr;
    size_t budget = n;
    const __m128i first = _mm_set1_epi8(needle[0]);
    const __m128i last = _mm_set1_epi8(needle[m - 1]);
    const char* const end = p + (n - m + 1);
    for (; end - p >= 16; p += 16) {
        unsigned mask = equalMask(p, first) & equalMask(p + m - 1, last);
        for (; mask; mask &= mask - 1) {
            const char* hit = p + lowestBit(mask);
            if (std::memcmp(hit, needle, m) == 0) return hit;
            if (budget < m) return findByHash(p, static_cast<size_t>(end - p) + m - 1, needle, m);
            budget -= m;
        }
    }
    return scalar::find(p, static_cast<size_t>(end - p) + m - 1, needle, m);
}

size_t asciiRun(const char* p, size_t n) {
    size_t i = 0;
    for (; n - i >= 64; i += 64) {
        const __m128i any = _mm_or_si128(_mm_or_si128(load16(p + i), load16(p + i + 16)),
                                         _mm_or_si128(load16(p + i + 32), load16(p + i + 48)));
        if (_mm_movemask_epi8(any)) break;
    }
    for (; n - i >= 16; i += 16)
        if (const unsigned mask = highMask(p + i)) return i + lowestBit(mask);
    return i + scalar::asciiRun(p + i, n - i);
}

#else

const char* find(const char* p, size_t n, const char* needle, size_t m) {
    if (m < 2) return m ? findByte(p, n, needle[0]) : p;
    if (n < m) return nullptr;
    return findByHash(p, n, needle, m);
}

size_t asciiRun(const char* p, size_t n) { return scalar::asciiRun(p, n); }

#endif

bool equalIgnoreCase(const char* a, const char* b, size_t n) {
    for (size_t i = 0; i < n; ++i)
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
