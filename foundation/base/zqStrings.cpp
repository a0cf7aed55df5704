// SPDX-License-Identifier: Apache-2.0

// Functions on C strings.

#include "foundation/zqStrings.h"

#include <climits>
#include <cstring>

#include "foundation/bytes/bytes.h"
#include "foundation/bytes/ranges.h"

using namespace mimetree::inner;

int zqStrCmp(const char* a, const char* b) { return std::strcmp(textOf(a), textOf(b)); }

int zqStrNCmp(const char* a, const char* b, unsigned int n) {
    return std::strncmp(textOf(a), textOf(b), n);
}

bool zqStrEqualsIgnoreCase(const char* a, const char* b) {
    a = textOf(a);
    b = textOf(b);
    while (*a && bytes::lower(*a) == bytes::lower(*b)) ++a, ++b;
    return *a == *b;
}

const char* zqStrStr(const char* hay, const char* needle) {
    return std::strstr(textOf(hay), textOf(needle));
}

const char* zqStrStrN(const char* hay, const char* needle, unsigned int n) {
    hay = textOf(hay);
    const void* nul = std::memchr(hay, '\0', n);
    const size_t size = nul ? static_cast<size_t>(static_cast<const char*>(nul) - hay) : n;
    return bytes::find(hay, size, textOf(needle), std::strlen(textOf(needle)));
}

const char* zq_binstrstr(const char* data, unsigned int n, const char* needle) {
    return bytes::find(textOf(data), data ? n : 0, textOf(needle), std::strlen(textOf(needle)));
}

const char* zqStrChr(const char* s, char c) { return std::strchr(textOf(s), c); }

const char* zqStrrChr(const char* s, char c) { return std::strrchr(textOf(s), c); }

int zqIntValue(const char* s) {
    s = textOf(s);
    while (bytes::isSpace(*s)) ++s;
    const bool negative = *s == '-';
    if (*s == '-' || *s == '+') ++s;
    long long value = 0;
    for (; bytes::isDigit(*s) && value <= INT_MAX; ++s) value = value * 10 + (*s - '0');
    if (negative) return value > INT_MAX ? INT_MIN : static_cast<int>(-value);
    return value > INT_MAX ? INT_MAX : static_cast<int>(value);
}
