// SPDX-License-Identifier: Apache-2.0
#pragma once

// Quoted-printable (RFC 2045 6.7) over plain bytes: the loops behind ContentCoding.  The
// caller gives the output space, which must not overlap the input.  Plain runs are copied in
// blocks where SSE2 is there; namespace scalar holds the portable form.

#include <cstddef>
#include <cstdint>

namespace mimetree::inner::quoted_printable {

// Room that encode() wants for these bytes; seldom more than a tenth above what it writes.
uint64_t encodedBound(const unsigned char* data, size_t n);

// Both give the end of what was written; bytes of `out` behind that may have been used.
char* encode(const unsigned char* data, size_t n, char* out);

// Wants room for `n` bytes.
unsigned char* decode(const char* text, size_t n, unsigned char* out);

namespace scalar {
char* encode(const unsigned char* data, size_t n, char* out);
unsigned char* decode(const char* text, size_t n, unsigned char* out);
}  // namespace scalar

}  // namespace mimetree::inner::quoted_printable
