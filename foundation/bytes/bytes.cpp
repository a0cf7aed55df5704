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

size_t plainRun(const char* p, size_t n) {
    size_t i = 0;
    while (i < n && p[i] != '\r' && p[i] != '\n' && p[i] != '\0' && p[i] != '?') ++i;
    return i;
}

bool hasC1(const char* p, size_t n) {
    for (size_t i = 0; i < n; ++i)
        if (uint8_t(p[i]) >= 0x82 && uint8_t(p[i]) <= 0x9F) return true;
    return false;
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
constexpr auto kPlainRun = SIMD_KERNEL(plainRun);
constexpr auto kHasC1 = SIMD_KERNEL(hasC1);

}  // namespace

const char* find(const char* p, size_t n, const char* needle, size_t m) {
    if (m < 2) return m ? findByte(p, n, needle[0]) : p;
    return n < m ? nullptr : kFind.now()(p, n, needle, m);
}

const char* findPair(const char* p, size_t n, char c) { return kFindPair.now()(p, n, c); }

size_t asciiRun(const char* p, size_t n) { return kAsciiRun.now()(p, n); }

size_t plainRun(const char* p, size_t n) { return kPlainRun.now()(p, n); }

bool hasC1(const char* p, size_t n) { return kHasC1.now()(p, n); }

namespace {

template <class Word>
Word load(const char* p) {
    Word word;
    std::memcpy(&word, p, sizeof word);
    return word;
}

// ASCII letters in lower case: adding makes the high bit of the bytes from "A" on, and of those
// behind "Z".
template <class Word>
Word lowerWord(Word word) {
    constexpr Word kEach = static_cast<Word>(0x0101010101010101u);
    const Word low = word & kEach * 0x7F;
    const Word fromA = low + kEach * (0x80 - 'A'), behindZ = low + kEach * (0x7F - 'Z');
    return word | (fromA & ~behindZ & ~word & kEach * 0x80) >> 2;
}

// Most words that differ do so in more than the case of letters, which is one bit.
template <class Word>
bool isSameWord(const char* a, const char* b) {
    const Word left = load<Word>(a), right = load<Word>(b), differing = left ^ right;
    if (differing & static_cast<Word>(~uint64_t{0x2020202020202020u})) return false;
    return differing == 0 || lowerWord(left) == lowerWord(right);
}

// The last word overlaps the one before.
template <class Word>
bool areSameWords(const char* a, const char* b, size_t n) {
    for (size_t i = 0; n - i > sizeof(Word); i += sizeof(Word))
        if (!isSameWord<Word>(a + i, b + i)) return false;
    return isSameWord<Word>(a + n - sizeof(Word), b + n - sizeof(Word));
}

}  // namespace

bool equalIgnoreCase(const char* a, const char* b, size_t n) {
    if (n >= 8) return areSameWords<uint64_t>(a, b, n);
    if (n >= 4) return areSameWords<uint32_t>(a, b, n);
    for (size_t i = 0; i < n; ++i)
        if (lower(a[i]) != lower(b[i])) return false;
    return true;
}

void makeLower(char* p, size_t n) {
    size_t i = 0;
    for (; n - i >= 8; i += 8) {
        const uint64_t word = lowerWord(load<uint64_t>(p + i));
        std::memcpy(p + i, &word, sizeof word);
    }
    for (; i < n; ++i) p[i] = lower(p[i]);
}

const char* findIgnoreCase(const char* p, size_t n, const char* needle, size_t m) {
    if (m == 0) return p;
    const char first = lower(needle[0]);
    for (; n >= m; ++p, --n)
        if (lower(*p) == first && equalIgnoreCase(p, needle, m)) return p;
    return nullptr;
}

}  // namespace mimetree::inner::bytes
