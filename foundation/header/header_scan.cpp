// SPDX-License-Identifier: Apache-2.0

// The structural pass over a header: the plain form, and the choice among it and the vectorised
// ones in simd/header.inc.  load.cpp runs it for every node; a header that it does not take is
// looked at by HeaderEndSearch and MimeHeader with all tolerance.

#include "foundation/header/header_scan.h"

#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"
#include "foundation/simd/vectors.h"

namespace mimetree::inner::header_scan {

namespace {

bool beginsOddly(const char* p, size_t n) {
    return n == 0 || *p == '\r' || *p == '\n' || *p == '\xEF';
}

}  // namespace

namespace scalar {

bool run(const char* p, size_t n, HeaderScan& out) {
    if (beginsOddly(p, n)) return false;
    bool isInName = false;
    for (size_t i = 0; i < n; ++i) {
        const bool isLineStart = i == 0 || p[i - 1] == '\n';
        const bool isLf = p[i] == '\n', isBehindCr = i > 0 && p[i - 1] == '\r';
        const bool isBehindLfCr = isBehindCr && i > 1 && p[i - 2] == '\n';
        if (isLf != isBehindCr && (isLf || p[i] == '\r' || isBehindLfCr)) return false;
        if (isLf && isBehindLfCr && i > 2) {
            out.size = static_cast<unsigned>(i - 3);
            return true;
        }
        if (isLineStart && p[i] != '\r' && !bytes::isBlank(p[i])) {
            if (out.fields.size() >= HeaderScan::kMostListed) out.isListed = false;
            else if (!out.fields.push({static_cast<unsigned>(i), 0})) return false;
            isInName = out.isListed;
        } else if (i == 0 && !out.fields.push({0, 0})) {
            return false;
        }
        if (isInName && !kFieldNameBytes.has(p[i])) {
            out.fields[out.fields.size() - 1].nameEnd = static_cast<unsigned>(i);
            isInName = false;
        }
        if (static_cast<unsigned char>(p[i]) >= 0x80) out.hasHighBytes = true;
    }
    return false;
}

}  // namespace scalar

namespace {

#define SIMD_KERNELS "foundation/simd/header.inc"
#include "foundation/simd/each_level.inc"

constexpr auto kRun = SIMD_KERNEL(run);

}  // namespace

bool run(const char* p, size_t n, HeaderScan& out) {
    out.fields.truncate(0);
    out.isListed = true;
    out.hasHighBytes = false;
    return !beginsOddly(p, n) && kRun.now()(p, n, out);
}

}  // namespace mimetree::inner::header_scan
