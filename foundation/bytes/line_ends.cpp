// SPDX-License-Identifier: Apache-2.0

// Line ends made CRLF, 16 bytes at a time where SSE2 is there, which every x86-64 has.

#include "foundation/bytes/line_ends.h"

#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace mimetree::inner::line_ends {

namespace {

// Rewrites the bytes from `p` on, one by one up to `stop`; a CRLF may reach beyond it.
struct Step {
    const char* begin;
    const char* end;
    BareCr bareCr;
    const char* p;
    char* out;

    void until(const char* stop) {
        while (p < stop) one();
    }

    void one() {
        const char c = *p++;
        const bool isBareLf = c == '\n' && (p - 1 == begin || p[-2] != '\r');
        if (isBareLf) *out++ = '\r';
        *out++ = c;
        if (c != '\r' || bareCr == BareCr::Stays) return;
        *out++ = '\n';
        if (p != end && *p == '\n') ++p;
    }
};

}  // namespace

namespace scalar {

size_t countIncomplete(const char* p, size_t n, BareCr bareCr) {
    size_t count = 0;
    for (size_t i = 0; i < n; ++i) {
        if (p[i] == '\n') count += i == 0 || p[i - 1] != '\r';
        else if (p[i] == '\r' && bareCr == BareCr::BecomesCrlf)
            count += i + 1 == n || p[i + 1] != '\n';
    }
    return count;
}

void complete(const char* p, size_t n, BareCr bareCr, char* out) {
    Step{p, p + n, bareCr, p, out}.until(p + n);
}

}  // namespace scalar

#if defined(__SSE2__)

namespace {

__m128i load(const char* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

// 0xFF where the byte is `c`.
__m128i equal(const char* p, char c) { return _mm_cmpeq_epi8(load(p), _mm_set1_epi8(c)); }

// Where the 16 line breaks at p lack their other half; p[-1] and p[16] are looked at too.
__m128i incompleteAt(const char* p, BareCr bareCr) {
    const __m128i bareLf = _mm_andnot_si128(equal(p - 1, '\r'), equal(p, '\n'));
    if (bareCr == BareCr::Stays) return bareLf;
    return _mm_or_si128(bareLf, _mm_andnot_si128(equal(p + 1, '\n'), equal(p, '\r')));
}

size_t sumOfBytes(__m128i counts) {
    const __m128i halves = _mm_sad_epu8(counts, _mm_setzero_si128());
    return static_cast<size_t>(_mm_cvtsi128_si32(halves)) +
           static_cast<size_t>(_mm_cvtsi128_si32(_mm_srli_si128(halves, 8)));
}

unsigned maskOf(__m128i found) { return static_cast<unsigned>(_mm_movemask_epi8(found)); }

}  // namespace

// The counters of a byte each are emptied before they can pass 255.
size_t countIncomplete(const char* p, size_t n, BareCr bareCr) {
    constexpr size_t kBlocks = 255;
    if (n < 32) return scalar::countIncomplete(p, n, bareCr);
    size_t count = p[0] == '\n' || (bareCr != BareCr::Stays && p[0] == '\r' && p[1] != '\n');
    size_t i = 1;
    while (n - i > 16) {
        __m128i counts = _mm_setzero_si128();
        for (size_t block = 0; block < kBlocks && n - i > 16; ++block, i += 16)
            counts = _mm_sub_epi8(counts, incompleteAt(p + i, bareCr));
        count += sumOfBytes(counts);
    }
    for (; i < n; ++i) {
        count += p[i] == '\n' && p[i - 1] != '\r';
        count += bareCr != BareCr::Stays && p[i] == '\r' && (i + 1 == n || p[i + 1] != '\n');
    }
    return count;
}

void complete(const char* p, size_t n, BareCr bareCr, char* out) {
    Step step{p, p + n, bareCr, p, out};
    while (step.end - step.p >= 16) {
        const unsigned cr = maskOf(equal(step.p, '\r'));
        const unsigned lf = maskOf(equal(step.p, '\n'));
        const unsigned crInFront = step.p != p && step.p[-1] == '\r';
        const unsigned odd = bareCr == BareCr::Stays ? lf & ~(cr << 1 | crInFront) : lf | cr;
        std::memcpy(step.out, step.p, 16);
        const unsigned plain = odd ? static_cast<unsigned>(__builtin_ctz(odd)) : 16;
        step.p += plain;
        step.out += plain;
        if (odd) step.one();
    }
    step.until(step.end);
}

#else

size_t countIncomplete(const char* p, size_t n, BareCr bareCr) {
    return scalar::countIncomplete(p, n, bareCr);
}

void complete(const char* p, size_t n, BareCr bareCr, char* out) {
    scalar::complete(p, n, bareCr, out);
}

#endif

}  // namespace mimetree::inner::line_ends
