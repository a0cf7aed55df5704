// SPDX-License-Identifier: Apache-2.0
#pragma once

// What a body is asked before it is stored, found out by one pass, which may copy it as well.

#include <cstddef>

namespace mimetree::inner::text_facts {

struct TextFacts {
    bool hasZero = false;
    bool isAscii = true;
};

TextFacts look(const char* p, size_t n);

// The same, and copies the bytes to `out`, which must not overlap them.
TextFacts copyAndLook(const char* p, size_t n, char* out);

namespace scalar {  // the plain forms, which tests hold the vectorised ones against
TextFacts look(const char* p, size_t n);
TextFacts copyAndLook(const char* p, size_t n, char* out);
}  // namespace scalar

}  // namespace mimetree::inner::text_facts
