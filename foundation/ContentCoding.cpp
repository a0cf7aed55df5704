// SPDX-License-Identifier: Apache-2.0

// The transfer codings of ContentCoding: the loops of base64.h and quoted_printable.h with
// buffers of ours around them.  Called wherever a body is set or read; encoded words and
// extended parameter values are in EncodedWords.cpp and StarEncoded.cpp.

#include "foundation/ContentCoding.h"

#include <cstdint>

#include "foundation/DataBuffer.h"
#include "foundation/StringBuffer.h"
#include "foundation/base64.h"
#include "foundation/quoted_printable.h"

namespace {

// Each grows the output once, to a bound that is known before, and gives back the rest.

template <class Encode>
bool appendEncoded(const void* data, unsigned int size, uint64_t bound, StringBuffer& out,
                   Encode encode) {
    if (size == 0) return true;
    // Limit: a StringBuffer holds less than 4 GiB.
    if (bound > UINT32_MAX) return false;
    const auto room = static_cast<unsigned int>(bound);
    char* const start = out.extend(room);
    if (start == nullptr) return false;
    const char* const end = encode(static_cast<const unsigned char*>(data), size, start);
    out.shorten(room - static_cast<unsigned int>(end - start));
    return true;
}

template <class Decode>
bool appendDecoded(const char* text, unsigned int size, size_t bound, DataBuffer& out,
                   Decode decode) {
    if (size == 0) return true;
    const auto room = static_cast<unsigned int>(bound);
    unsigned char* const start = out.extend(room);
    if (start == nullptr) return false;
    const unsigned char* const end = decode(text, size, start);
    out.shorten(room - static_cast<unsigned int>(end - start));
    out.shrinkToFit();
    return true;
}

}  // namespace

bool ContentCoding::encodeBase64(const void* data, unsigned int size, StringBuffer& out) const {
    return appendEncoded(data, size, base64::encodedSize(size), out, base64::encode);
}

bool ContentCoding::decodeBase64ToDb(const char* text, unsigned int size, DataBuffer& out) {
    return appendDecoded(text, size, base64::decodedBound(size), out, base64::decode);
}

bool ContentCoding::encodeQuotedPrintable(const void* data, unsigned int size,
                                          StringBuffer& out) const {
    const uint64_t bound =
        quoted_printable::encodedBound(static_cast<const unsigned char*>(data), size);
    return appendEncoded(data, size, bound, out, quoted_printable::encode);
}

bool ContentCoding::decodeQuotedPrintable(const char* text, unsigned int size,
                                          DataBuffer& out) const {
    return appendDecoded(text, size, size, out, quoted_printable::decode);
}
