// SPDX-License-Identifier: Apache-2.0

// The check for well-formed UTF-8.  Called through _zqUtf by the steps that guess at charsets,
// and by the conversion of UTF-8 input (EncodingConvert.cpp).  Vectors check 64 bytes at a time
// (simd/utf8.inc); what they leave, or all where there are none, goes by eight bytes of ASCII or
// one common sequence of two or three bytes a turn, and the rest to utf8::sequence, which is also
// the plain twin's only step.

#include "foundation/bytes/utf8.h"

#include "foundation/simd/vectors.h"

namespace mimetree::inner {

namespace {

// The four bytes at p as a number, the first one uppermost: the form in which masks read best.
uint32_t load4(const unsigned char* p) {
    return static_cast<uint32_t>(p[0]) << 24 | static_cast<uint32_t>(p[1]) << 16 |
           static_cast<uint32_t>(p[2]) << 8 | p[3];
}

bool isAscii8(const unsigned char* p) {
    uint64_t word;
    std::memcpy(&word, p, sizeof word);
    return (word & 0x8080808080808080u) == 0;
}

// Length of the sequence at p, of which four bytes can be read, when it is one of the common
// kind: three bytes without a special rule for the second, or two.  0 for all else.
unsigned commonSequence(const unsigned char* p) {
    const uint32_t word = load4(p);
    if ((word & 0xF0C0C000u) == 0xE0808000u)
        return (word & 0x0F200000u) != 0 && (word & 0x0F200000u) != 0x0D200000u ? 3 : 0;
    if ((word & 0xE0C00000u) == 0xC0800000u) return (word & 0x1E000000u) != 0 ? 2 : 0;
    return 0;
}

size_t prefixBySequences(const unsigned char* p, size_t n) {
    const unsigned char* const start = p;
    const unsigned char* const end = p + n;
    while (end - p >= 8) {
        if (isAscii8(p)) {
            p += 8;
            continue;
        }
        while (*p < 0x80) ++p;
        while (end - p >= 4) {
            const unsigned length = commonSequence(p);
            if (length == 0) break;
            p += length;
        }
        if (p == end) break;
        const unsigned length = utf8::sequence(p, static_cast<size_t>(end - p));
        if (length == 0) return static_cast<size_t>(p - start);
        p += length;
    }
    return static_cast<size_t>(p - start) +
           utf8::scalar::validPrefix(p, static_cast<size_t>(end - p));
}

// Keiser, Lemire, "Validating UTF-8 in less than one instruction per byte" (2021): what can be
// wrong with two bytes in a row is looked up by the nibbles of the first and the upper one of
// the second; a fault that all three know is one.
using Row16 = unsigned char[16];

struct FaultTables {
    Row16 firstUpper, firstLower, secondUpper;
};

constexpr FaultTables makeFaultTables() {
    // A lead without what it asks for; what no lead asked for; E0 and then below A0; F4 and then
    // 90 or above; a surrogate; C0 and C1; F0 and then below 90; F5 and above; two continuations.
    constexpr unsigned char kShort = 1, kLong = 2, kOverlong3 = 4, kLarge = 8, kSurrogate = 16,
                            kOverlong2 = 32, kOverlong4OrLarger = 64, kContinuations = 128;
    FaultTables t{};
    for (unsigned char i = 0; i < 16; ++i) {
        t.firstUpper[i] = i < 8    ? kLong
                          : i < 12 ? kContinuations
                          : i < 13 ? kShort | kOverlong2
                          : i < 14 ? kShort
                          : i < 15 ? kShort | kOverlong3 | kSurrogate
                                   : kShort | kLarge | kOverlong4OrLarger;
        t.firstLower[i] = kShort | kLong | kContinuations;
        if (i < 2) t.firstLower[i] |= kOverlong2;
        if (i == 0) t.firstLower[i] |= kOverlong3 | kOverlong4OrLarger;
        if (i >= 4) t.firstLower[i] |= kLarge;
        if (i >= 5) t.firstLower[i] |= kOverlong4OrLarger;
        if (i == 13) t.firstLower[i] |= kSurrogate;
        t.secondUpper[i] = i < 8 || i > 11 ? kShort : kLong | kOverlong2 | kContinuations;
        if (i == 8) t.secondUpper[i] |= kOverlong3 | kOverlong4OrLarger;
        if (i == 9) t.secondUpper[i] |= kOverlong3 | kLarge;
        if (i == 10 || i == 11) t.secondUpper[i] |= kSurrogate | kLarge;
    }
    return t;
}

[[maybe_unused]] constexpr FaultTables kFaults = makeFaultTables();

#define SIMD_KERNELS "foundation/simd/utf8.inc"
#include "foundation/simd/each_level.inc"

constexpr auto kValidPrefix = SIMD_KERNEL_OVER(prefixBySequences, validPrefix);

}  // namespace

// No loop is given a null pointer, which may not be moved.
size_t utf8::validPrefix(const unsigned char* p, size_t n) {
    return n == 0 ? 0 : kValidPrefix.now()(p, n);
}

size_t utf8::scalar::validPrefix(const unsigned char* p, size_t n) {
    size_t i = 0;
    while (i < n) {
        const unsigned length = sequence(p + i, n - i);
        if (length == 0) break;
        i += length;
    }
    return i;
}

bool utf8::isCleanText(const unsigned char* p, size_t n) {
    for (const unsigned char* const end = p + n; p != end;) {
        const unsigned length = sequence(p, static_cast<size_t>(end - p));
        const bool isControl = length == 1 ? *p < 0x20 && *p != '\t' && *p != '\r' && *p != '\n'
                                           : length == 2 && p[0] == 0xC2 && p[1] < 0xA0;
        const bool isReplacement = length == 3 && p[0] == 0xEF && p[1] == 0xBF && p[2] == 0xBD;
        if (length == 0 || isControl || isReplacement) return false;
        p += length;
    }
    return true;
}

// What can follow is the lowest or the highest continuation byte, if anything can.
bool utf8::isCutSequence(const unsigned char* p, size_t n) {
    if (n == 0 || n > 3) return false;
    unsigned char lowest[4] = {0x80, 0x80, 0x80, 0x80}, highest[4] = {0xBF, 0xBF, 0xBF, 0xBF};
    std::memcpy(lowest, p, n);
    std::memcpy(highest, p, n);
    return sequence(lowest, sizeof lowest) > n || sequence(highest, sizeof highest) > n;
}

}  // namespace mimetree::inner
