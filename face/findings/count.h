// SPDX-License-Identifier: Apache-2.0
#pragma once

// Counts bytes of whole bodies, which most of the time of a check goes to.

#include <cstddef>
#include <string_view>

namespace mimetree::inner::check {

// How many places `is(p)` is true of, where it is 0 or 1 without a branch: compilers make vectors
// of that while the counter is a byte.  Of the byte behind p it may look at no more than `beyond`.
template <class Is>
size_t countPlaces(std::string_view text, const Is& is, size_t beyond = 0) {
    if (text.size() <= beyond) return 0;
    const char* p = text.data();
    size_t count = 0;
    for (size_t left = text.size() - beyond; left > 0;) {
        const size_t block = left < 255 ? left : 255;
        unsigned char inBlock = 0;
        for (size_t i = 0; i < block; ++i)
            inBlock = static_cast<unsigned char>(inBlock + is(p + i));
        count += inBlock;
        p += block;
        left -= block;
    }
    return count;
}

inline size_t countOf(std::string_view text, char c) {
    return countPlaces(text, [c](const char* p) { return *p == c; });
}

}  // namespace mimetree::inner::check
