// SPDX-License-Identifier: Apache-2.0
#pragma once

// The one pass over a header that is as RFC 5322 wants it: where it ends, where its fields start
// and their names end, and whether all of it is ASCII.

#include <cstddef>

#include "foundation/bytes/GrowArray.h"

namespace mimetree::inner {

struct FieldPlace {
    unsigned start;
    unsigned nameEnd;  // the first byte that no name can hold
};

// Limit: a longer list of fields is left to whoever takes the header over, who then knows how
// long it is.
struct HeaderScan {
    static constexpr unsigned kMostListed = 4096;

    GrowArray<FieldPlace, 128> fields;
    bool isListed = true;  // all of them
    unsigned size = 0;     // up to the CRLF CRLF
    bool hasHighBytes = false;
};

// Looks through the header at the start of p[0, n).  False for one that is empty, begins with a
// byte order mark or does not end with CRLF CRLF, and for line breaks in it that are none of RFC
// 5322 (a CR that neither an LF follows nor a break stands beside is text); also when memory is
// exhausted.  Limit: looks no further than to such a break, behind which the header may end, so
// that nested messages are not looked through once for each level.
namespace header_scan {
bool run(const char* p, size_t n, HeaderScan& out);

namespace scalar {  // the plain form, which tests hold the vectorised ones against
bool run(const char* p, size_t n, HeaderScan& out);
}
}  // namespace header_scan

}  // namespace mimetree::inner
