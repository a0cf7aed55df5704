// SPDX-License-Identifier: Apache-2.0
#pragma once

// Making line ends CRLF: the loops behind StringBuffer::toCRLF and allToCRLF, which see all
// mail that is stored with LF.  Namespace scalar holds the plain forms that tests compare with.

#include <cstddef>

namespace mimetree::inner::line_ends {

enum class BareCr { Stays, BecomesCrlf };

// How many line breaks of p[0, n) lack their other half; each grows by one byte.
size_t countIncomplete(const char* p, size_t n, BareCr bareCr);

// Writes p[0, n) with CRLF for every line break to `out`, which has room for n bytes and one
// for each that is incomplete.
void complete(const char* p, size_t n, BareCr bareCr, char* out);

namespace scalar {
size_t countIncomplete(const char* p, size_t n, BareCr bareCr);
void complete(const char* p, size_t n, BareCr bareCr, char* out);
}  // namespace scalar

}  // namespace mimetree::inner::line_ends
