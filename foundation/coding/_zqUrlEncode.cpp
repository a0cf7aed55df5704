// SPDX-License-Identifier: Apache-2.0

// Percent-encoding, called where a body is written as a URL (mime/body/body_convert.cpp).

#include "foundation/_zqUrlEncode.h"

#include <cstdint>

#include "foundation/bytes/ByteSet.h"
#include "foundation/StringBuffer.h"

using namespace mimetree::inner;

namespace {

// RFC 3986 2.3
constexpr ByteSet kUnreserved = ByteSet("-._~").range('A', 'Z').range('a', 'z').range('0', '9');

uint64_t encodedSize(const unsigned char* data, unsigned int size) {
    uint64_t n = size;
    for (unsigned int i = 0; i < size; ++i)
        n += kUnreserved.has(static_cast<char>(data[i])) ? 0U : 2U;
    return n;
}

}  // namespace

bool _zqUrlEncode::urlEncode3(const unsigned char* data, unsigned int size, StringBuffer& out) {
    const uint64_t encoded = data ? encodedSize(data, size) : 0;
    if (encoded == 0) return true;
    // Limit: a StringBuffer holds less than 4 GiB.
    if (encoded > UINT32_MAX) {
        out.markFailed();
        return false;
    }
    if (out.owns(data)) {  // growing would move it
        StringBuffer apart;
        return urlEncode3(data, size, apart) && out.append(apart);
    }
    char* to = out.extend(static_cast<unsigned int>(encoded));
    if (to == nullptr) return false;
    for (unsigned int i = 0; i < size; ++i) {
        if (kUnreserved.has(static_cast<char>(data[i]))) {
            *to++ = static_cast<char>(data[i]);
            continue;
        }
        *to++ = '%';
        *to++ = "0123456789ABCDEF"[data[i] >> 4];
        *to++ = "0123456789ABCDEF"[data[i] & 15];
    }
    return true;
}
