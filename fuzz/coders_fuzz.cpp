// SPDX-License-Identifier: Apache-2.0

// The transfer codings: decoding what was encoded gives the bytes back, lines stay within 76
// columns, and any text is decoded.

#include "foundation/ContentCoding.h"
#include "laws.h"

namespace {

void checkLines(const std::string& text) {
    size_t start = 0;
    for (size_t end; start < text.size(); start = end + 2) {
        end = text.find("\r\n", start);
        if (end == std::string::npos) end = text.size();
        require(end - start <= 76, "no encoded line passes 76 columns");
    }
}

}  // namespace

FUZZ_TARGET(coders_fuzz) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const unsigned n = static_cast<unsigned>(size);
    const ContentCoding coding;
    StringBuffer encoded;
    DataBuffer decoded;
    coding.encodeBase64(data, n, encoded);
    checkLines(bytesOf(encoded));
    ContentCoding::decodeBase64ToDb(encoded.getString(), encoded.getSize(), decoded);
    require(bytesOf(decoded) == bytes, "base64 gives the bytes back");

    encoded.weakClear();
    decoded.clear();
    coding.encodeQuotedPrintable(data, n, encoded);
    checkLines(bytesOf(encoded));
    coding.decodeQuotedPrintable(encoded.getString(), encoded.getSize(), decoded);
    require(bytesOf(decoded) == bytes, "quoted-printable gives the bytes back");

    decoded.clear();
    ContentCoding::decodeBase64ToDb(bytes.data(), n, decoded);
    require(decoded.getSize() <= n, "base64 does not swell");
    decoded.clear();
    coding.decodeQuotedPrintable(bytes.data(), n, decoded);
    require(decoded.getSize() <= n, "quoted-printable does not swell");
}
