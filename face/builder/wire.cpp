// SPDX-License-Identifier: Apache-2.0
// Bodies on their way through the mail system: transfer codings are chosen by what is found
// here.

#include "face/builder/wire.h"

#include <new>

#include "foundation/ContentCoding.h"
#include "foundation/charset/code_pages.h"

namespace mimetree::inner {

WireFacts factsOf(std::string_view text) {
    WireFacts facts;
    size_t lineStart = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (static_cast<unsigned char>(c) >= 0x80) facts.is7bit = false;
        if (c == '\0') facts.hasNul = true;
        const bool isCrlf = c == '\r' && text.substr(i + 1, 1) == "\n";
        if ((c == '\r' && !isCrlf) || c == '\n') facts.hasBareBreak = true;
        if (isCrlf || c == '\n') {
            if (i - lineStart > kMaxLine) facts.hasLongLine = true;
            if (isCrlf) ++i;
            lineStart = i + 1;
        }
    }
    if (text.size() - lineStart > kMaxLine) facts.hasLongLine = true;
    return facts;
}

// The writer itself is asked, with the coding out of its way.
DataBuffer wireBytes(MimeMessage2& leaf, LogBase& log) {
    StringBuffer coding;
    coding.swap(leaf.m_contentTransferEncoding);
    DataBuffer bytes;
    leaf.getMimeBodyEncodedDb(bytes, log);
    coding.swap(leaf.m_contentTransferEncoding);
    if (bytes.failed()) throw std::bad_alloc();
    return bytes;
}

const char* shorterCoding(const MimeMessage2& leaf, const DataBuffer& bytes) {
    const ContentCoding coding;
    StringBuffer quoted, base64;
    const bool canQuote = mayBeQuoted(leaf) &&
                          coding.encodeQuotedPrintable(bytes.getData2(), bytes.getSize(), quoted);
    if (!coding.encodeBase64(bytes.getData2(), bytes.getSize(), base64)) throw std::bad_alloc();
    return canQuote && quoted.getSize() <= base64.getSize() ? "quoted-printable" : "base64";
}

bool mayBeQuoted(const MimeMessage2& leaf) {
    return !codepage::isUtf16Or32(leaf.getCharsetCodePage());
}

bool isEncoded(const MimeMessage2& part) {
    const StringBuffer& coding = part.m_contentTransferEncoding;
    return coding.equalsIgnoreCase("quoted-printable") || coding.equalsIgnoreCase("base64");
}

bool is8bit(const MimeMessage2& part) {
    const StringBuffer& coding = part.m_contentTransferEncoding;
    return coding.equalsIgnoreCase("8bit") || coding.equalsIgnoreCase("binary");
}

}  // namespace mimetree::inner
