// SPDX-License-Identifier: Apache-2.0
#pragma once

// Loops over bytes that everything else is built on: plain functions over [p, p + n), with
// no allocation, no log and no knowledge of MIME.  Each that is vectorised has a plain twin
// of the same name in namespace scalar, which is what tests hold it against.

#include <cstddef>

namespace mimetree::inner::bytes {

// First occurrence of needle[0, m) in p[0, n), or null.  An empty needle is found at p.
const char* find(const char* p, size_t n, const char* needle, size_t m);
const char* findIgnoreCase(const char* p, size_t n, const char* needle, size_t m);

// First place in p[0, n) where `c` stands twice, or null.
const char* findPair(const char* p, size_t n, char c);

// Length of the run of bytes below 0x80 at the start of p[0, n).
size_t asciiRun(const char* p, size_t n);
inline bool isAscii(const char* p, size_t n) { return asciiRun(p, n) == n; }

// Length of the run at the start of p[0, n) without CR, LF, NUL and "?".
size_t plainRun(const char* p, size_t n);

// True when a byte of p[0, n) is one of 0x82 to 0x9F.
bool hasC1(const char* p, size_t n);

bool equalIgnoreCase(const char* a, const char* b, size_t n);
void makeLower(char* p, size_t n);

inline char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }
inline bool isBlank(char c) { return c == ' ' || c == '\t'; }
inline bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
inline bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Value of a hexadecimal digit of either case, or -1.
inline int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

namespace scalar {
const char* find(const char* p, size_t n, const char* needle, size_t m);
const char* findPair(const char* p, size_t n, char c);
size_t asciiRun(const char* p, size_t n);
size_t plainRun(const char* p, size_t n);
bool hasC1(const char* p, size_t n);
}  // namespace scalar

}  // namespace mimetree::inner::bytes
