// SPDX-License-Identifier: Apache-2.0
#pragma once

// Functions on C strings and byte runs.  A null argument counts as empty text; letters are
// compared in ASCII, whatever the locale.

#include "foundation/export.h"

// Byte-wise order: negative, 0 when equal, positive.
MIMETREE_API int zqStrCmp(const char* a, const char* b);
MIMETREE_API int zqStrNCmp(const char* a, const char* b, unsigned int n);  // over at most n bytes

// The same text but for the case of ASCII letters.
MIMETREE_API bool zqStrEqualsIgnoreCase(const char* a, const char* b);

// First occurrence, or null.  The second looks only at the first `n` bytes of `hay`, which
// may end earlier with a NUL.
MIMETREE_API const char* zqStrStr(const char* hay, const char* needle);
MIMETREE_API const char* zqStrStrN(const char* hay, const char* needle, unsigned int n);

// First occurrence of the string `needle` in `n` bytes, which may hold NULs; or null.
MIMETREE_API const char* zq_binstrstr(const char* data, unsigned int n, const char* needle);

// First and last occurrence of byte `c`, or null.
MIMETREE_API const char* zqStrChr(const char* s, char c);
MIMETREE_API const char* zqStrrChr(const char* s, char c);

// The decimal integer at the start of `s`, after blanks and a sign; 0 when there is none.
// What does not fit an int becomes the nearest int.
MIMETREE_API int zqIntValue(const char* s);
