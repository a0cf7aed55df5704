// SPDX-License-Identifier: Apache-2.0

// Line ends made CRLF.  The plain forms stand here, the vectorised ones in simd/line_ends.inc.

#include "foundation/bytes/line_ends.h"

#include "foundation/simd/vectors.h"

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

namespace {

#define SIMD_KERNELS "foundation/simd/line_ends.inc"
#include "foundation/simd/each_level.inc"

constexpr auto kCountIncomplete = SIMD_KERNEL(countIncomplete);
constexpr auto kComplete = SIMD_KERNEL(complete);

}  // namespace

size_t countIncomplete(const char* p, size_t n, BareCr bareCr) {
    return kCountIncomplete.now()(p, n, bareCr);
}

void complete(const char* p, size_t n, BareCr bareCr, char* out) {
    kComplete.now()(p, n, bareCr, out);
}

}  // namespace mimetree::inner::line_ends
