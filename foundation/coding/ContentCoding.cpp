// SPDX-License-Identifier: Apache-2.0

// The transfer codings of ContentCoding: the loops of base64.h and quoted_printable.h with
// buffers of ours around them.  Called wherever a body is set or read; encoded words and
// extended parameter values are in EncodedWords.cpp and StarEncoded.cpp.

#include "foundation/ContentCoding.h"

#include <cstdint>

#include "foundation/DataBuffer.h"
#include "foundation/StringBuffer.h"
#include "foundation/coding/base64.h"
#include "foundation/coding/base64_footer.h"
#include "foundation/coding/quoted_printable.h"

using namespace mimetree::inner;

namespace {

// Each grows the output once, to a bound that is known before, and gives back the rest.  What
// stands in the output itself would move while it is read.

template <class Buffer, class Encode>
bool appendEncoded(const void* data, unsigned int size, uint64_t bound, Buffer& out,
                   Encode encode) {
    if (!data || size == 0) return true;
    if (out.owns(data)) {
        Buffer apart;
        return appendEncoded(data, size, bound, apart, encode) && out.append(apart);
    }
    // Limit: a buffer holds less than 4 GiB.
    if (bound > UINT32_MAX) {
        out.markFailed();
        return false;
    }
    const auto room = static_cast<unsigned int>(bound);
    char* const start = reinterpret_cast<char*>(out.extend(room));
    if (start == nullptr) return false;
    const char* const end = encode(static_cast<const unsigned char*>(data), size, start);
    out.shorten(room - static_cast<unsigned int>(end - start));
    return true;
}

template <class Decode>
bool appendDecoded(const char* text, unsigned int size, size_t bound, DataBuffer& out,
                   Decode decode) {
    if (size == 0) return true;
    if (out.owns(text)) {
        DataBuffer apart;
        return appendDecoded(text, size, bound, apart, decode) && out.append(apart);
    }
    const auto room = static_cast<unsigned int>(bound);
    unsigned char* const start = out.extend(room);
    if (start == nullptr) return false;
    const unsigned char* const end = decode(text, size, start);
    out.shorten(room - static_cast<unsigned int>(end - start));
    out.shrinkToFit();
    return true;
}

template <class Buffer>
bool appendBase64(const void* data, unsigned int size, Buffer& out) {
    return appendEncoded(data, size, base64::encodedSize(size), out, base64::encode);
}

// Where there is room for whatever comes, nobody needs to look at it twice.
template <class Buffer>
bool appendQuotedPrintable(const void* data, unsigned int size, Buffer& out) {
    if (!data) return true;
    const uint64_t most = quoted_printable::mostEncoded(size);
    const uint64_t bound = out.spare() >= most ? most
                                               : quoted_printable::encodedBound(
                                                     static_cast<const unsigned char*>(data), size);
    return appendEncoded(data, size, bound, out, quoted_printable::encode);
}

}  // namespace

bool ContentCoding::encodeBase64(const void* data, unsigned int size, StringBuffer& out) const {
    return appendBase64(data, size, out);
}

bool ContentCoding::encodeBase64(const void* data, unsigned int size, DataBuffer& out) const {
    return appendBase64(data, size, out);
}

bool ContentCoding::decodeBase64ToDb(const char* text, unsigned int size, DataBuffer& out) {
    const auto used = static_cast<unsigned int>(text ? base64::sizeWithoutFooter(text, size) : 0);
    return appendDecoded(text, used, base64::decodedBound(used), out, base64::decode);
}

bool ContentCoding::encodeQuotedPrintable(const void* data, unsigned int size,
                                          StringBuffer& out) const {
    return appendQuotedPrintable(data, size, out);
}

bool ContentCoding::encodeQuotedPrintable(const void* data, unsigned int size,
                                          DataBuffer& out) const {
    return appendQuotedPrintable(data, size, out);
}

bool ContentCoding::decodeQuotedPrintable(const char* text, unsigned int size,
                                          DataBuffer& out) const {
    return !text || appendDecoded(text, size, size, out, quoted_printable::decode);
}
