// SPDX-License-Identifier: Apache-2.0
#pragma once

// Quoted-printable (RFC 2045 6.7) over plain bytes: the loops behind ContentCoding.  The
// caller gives the output space, which must not overlap the input.  Namespace scalar holds
// the plain forms that tests compare with.

#include <cstddef>
#include <cstdint>

namespace mimetree::inner::quoted_printable {

// How many of these bytes cannot stand for themselves.
size_t countEscapes(const char* p, size_t n);

// Room that encode() wants for these bytes; seldom more than a tenth above what it writes.
uint64_t encodedBound(const unsigned char* data, size_t n);

// The same for any n bytes.
uint64_t mostEncoded(uint64_t n);

// Both give the end of what was written; bytes of `out` behind that may have been used.
char* encode(const unsigned char* data, size_t n, char* out);

// Wants room for `n` bytes.
unsigned char* decode(const char* text, size_t n, unsigned char* out);

namespace scalar {
size_t countEscapes(const char* p, size_t n);
char* encode(const unsigned char* data, size_t n, char* out);
unsigned char* decode(const char* text, size_t n, unsigned char* out);
}  // namespace scalar

}  // namespace mimetree::inner::quoted_printable
