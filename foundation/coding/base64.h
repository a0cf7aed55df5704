// SPDX-License-Identifier: Apache-2.0
#pragma once

// Base64 (RFC 2045 6.8) over plain bytes: the loops behind ContentCoding.  The caller gives
// the output space, which must not overlap the input.  Both directions use AVX2 where the
// machine has it; namespace scalar holds the portable form that everything else runs.

#include <cstddef>
#include <cstdint>

namespace mimetree::inner::base64 {

// RFC 2045 6.8: no line is longer than 76 characters, which hold 57 bytes.
constexpr size_t kLineBytes = 57;
constexpr size_t kLineChars = 76;

// Size of the text that encode() writes for `n` bytes.
constexpr uint64_t encodedSize(uint64_t n) {
    return n == 0 ? 0 : (n + 2) / 3 * 4 + (n - 1) / kLineBytes * 2;
}

// Room that decode() wants for `n` characters.
constexpr size_t decodedBound(size_t n) { return n - n / 4; }

// CRLF stands between lines, none behind the last.  Gives the end of what was written.
char* encode(const unsigned char* data, size_t n, char* out);

// Skips what is not in the alphabet; "=" ends a group of four, whatever follows.  Gives the
// end of what was written; bytes of `out` behind that may have been used as well.
unsigned char* decode(const char* text, size_t n, unsigned char* out);

// The same for a piece of the text that goes on to `end`: moves `text` to between two groups, to
// `stop` or a little behind it.  Wants room for kGroupBytes more than that piece has.
constexpr size_t kGroupBytes = 3;
unsigned char* decodePiece(const char*& text, const char* stop, const char* end,
                           unsigned char* out);

namespace scalar {
char* encode(const unsigned char* data, size_t n, char* out);
unsigned char* decode(const char* text, size_t n, unsigned char* out);
}  // namespace scalar

}  // namespace mimetree::inner::base64
