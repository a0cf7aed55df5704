// SPDX-License-Identifier: Apache-2.0
#pragma once

// Texts as [p, end) and as C strings: the small questions that many sources ask.

#include <algorithm>
#include <cstring>
#include <string_view>

#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"

namespace mimetree::inner {

// Limit: what a buffer can hold, since sizes are 32 bits.
constexpr unsigned kMaxSize = 0xFFFFFFFFu;

inline unsigned sizeOf(const char* begin, const char* end) {
    return static_cast<unsigned>(end - begin);
}

// A C string that may be null is empty then.
inline const char* textOf(const char* s) { return s ? s : ""; }
inline unsigned sizeOf(const char* s) { return s ? static_cast<unsigned>(std::strlen(s)) : 0; }

inline const unsigned char* asBytes(const char* p) {
    return reinterpret_cast<const unsigned char*>(p);
}

inline const char* skip(const char* p, const char* end, const ByteSet& set) {
    while (p != end && set.has(*p)) ++p;
    return p;
}

inline bool consistsOf(std::string_view text, const ByteSet& set) {
    return std::all_of(text.begin(), text.end(), [&](char c) { return set.has(c); });
}

inline const char* skipSpace(const char* p, const char* end) {
    while (p != end && bytes::isSpace(*p)) ++p;
    return p;
}

}  // namespace mimetree::inner
