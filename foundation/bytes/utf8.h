// SPDX-License-Identifier: Apache-2.0
#pragma once

// UTF-8 at the level of bytes: what is well-formed, and how one character is read and written.
// The check of long texts is a loop with a plain twin in namespace scalar; the charset codecs
// are built on the functions for one character.

#include <cstddef>

namespace mimetree::inner::utf8 {

// Length of the longest run of whole well-formed sequences at the start of p[0, n).
size_t validPrefix(const unsigned char* p, size_t n);

// True for well-formed text without U+FFFD and control characters (white space is none): what
// was decoded in the wrong charset seldom is that.
bool isCleanText(const unsigned char* p, size_t n);

// True when p[0, n) is the beginning of a well-formed sequence that is longer than n.
bool isCutSequence(const unsigned char* p, size_t n);

// RFC 3629 4: length of the well-formed sequence at p[0, n), n > 0; 0 when there is none.
// Overlong forms, surrogates and values above U+10FFFF show in the second byte.
inline unsigned sequence(const unsigned char* p, size_t n) {
    const unsigned lead = p[0];
    if (lead < 0x80) return 1;
    const unsigned length = lead < 0xC2   ? 0
                            : lead < 0xE0 ? 2
                            : lead < 0xF0 ? 3
                            : lead < 0xF5 ? 4
                                          : 0;
    if (length == 0 || length > n) return 0;
    const unsigned low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (p[1] < low || p[1] > high) return 0;
    for (unsigned i = 2; i < length; ++i)
        if ((p[i] & 0xC0) != 0x80) return 0;
    return length;
}

// Reads the character at p, which moves behind it; p != end.
// Tolerated: a byte that begins no well-formed sequence is the Latin-1 character of its value,
// which is what it was in mail that mixes both.
inline char32_t next(const unsigned char*& p, const unsigned char* end) {
    const unsigned length = sequence(p, static_cast<size_t>(end - p));
    if (length <= 1) return *p++;
    char32_t c = *p & (0x7Fu >> length);
    for (unsigned i = 1; i < length; ++i) c = c << 6 | (p[i] & 0x3Fu);
    p += length;
    return c;
}

// Writes `c` (no surrogate, at most U+10FFFF) to `at`, up to 4 bytes; gives the end.
constexpr unsigned char* put(char32_t c, unsigned char* at) {
    const auto byte = [](char32_t value) { return static_cast<unsigned char>(value); };
    const auto tail = [](char32_t value) {
        return static_cast<unsigned char>(0x80 | (value & 0x3F));
    };
    if (c < 0x80) {
        *at++ = byte(c);
    } else if (c < 0x800) {
        *at++ = byte(0xC0 | c >> 6);
        *at++ = tail(c);
    } else if (c < 0x10000) {
        *at++ = byte(0xE0 | c >> 12);
        *at++ = tail(c >> 6);
        *at++ = tail(c);
    } else {
        *at++ = byte(0xF0 | c >> 18);
        *at++ = tail(c >> 12);
        *at++ = tail(c >> 6);
        *at++ = tail(c);
    }
    return at;
}

namespace scalar {
size_t validPrefix(const unsigned char* p, size_t n);
}  // namespace scalar

}  // namespace mimetree::inner::utf8
