// SPDX-License-Identifier: Apache-2.0

// Whether bytes are UTF-8: asked by the body and header steps that must guess a charset.  The
// loop itself is in utf8.cpp.

#include "foundation/_zqUtf.h"

#include "foundation/bytes/utf8.h"

using namespace mimetree::inner;

bool _zqUtf::isValidUtf8(const unsigned char* data, unsigned int size, unsigned int limit) {
    if (!data) return true;
    const bool isCut = limit != 0 && limit < size;
    const size_t n = isCut ? limit : size;
    const size_t valid = utf8::validPrefix(data, n);
    return valid == n || (isCut && utf8::isCutSequence(data + valid, n - valid));
}
