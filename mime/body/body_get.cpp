// SPDX-License-Identifier: Apache-2.0

// Reading a body in wire form: the stored UTF-8 is converted to the code page in which it is
// to be sent, then the transfer coding is applied.  The six readers differ in what they count
// as text and where the code page comes from.  serialize.cpp uses getMimeBodyEncodedDb.  A body
// that was loaded and is unchanged is sent as it came.

#include <cstring>

#include "foundation/ContentCoding.h"
#include "foundation/EncodingConvert.h"
#include "foundation/LogNull.h"
#include "foundation/_zqUtf.h"
#include "foundation/base/relaxed.h"
#include "mime/node/internal.h"
#include "mime/node/type_traits.h"

using namespace mimetree::inner;

namespace {

enum class WireCoding { Base64, QuotedPrintable, None };

WireCoding codingOf(const StringBuffer& name) {
    if (name.equalsIgnoreCase2("base64", 6)) return WireCoding::Base64;
    if (name.equalsIgnoreCase2("quoted-printable", 16)) return WireCoding::QuotedPrintable;
    return WireCoding::None;
}

// The bytes to send: the stored ones, or a copy in another code page.
class WireBytes {
public:
    explicit WireBytes(const DataBuffer& stored) : m_bytes(&stored) {}

    void take(const DataBuffer& received) { m_bytes = &received; }

    void convertTo(int codePage, LogBase& log) {
        if (!EncodingConvert::EncConvert(codepage::kUtf8, codePage, m_bytes->getData2(),
                                         m_bytes->getSize(), m_converted, log))
            m_converted.markFailed();
        m_bytes = &m_converted;
    }

    void convertLabelled(const _zqCharset& charset, int codePage, LogBase& log) {
        if (!m_bytes->isEmpty()) writeMark(charset, log);
        convertTo(codePage, log);
    }

    // Marks `out` when memory ran out on the way to its bytes.
    template <class Buffer>
    void encode(WireCoding coding, Buffer& out) const {
        const ContentCoding coder;
        if (m_converted.failed()) out.markFailed();
        if (coding == WireCoding::Base64)
            coder.encodeBase64(m_bytes->getData2(), m_bytes->getSize(), out);
        else if (coding == WireCoding::QuotedPrintable)
            coder.encodeQuotedPrintable(m_bytes->getData2(), m_bytes->getSize(), out);
        else out.append(*m_bytes);
    }

private:
    // RFC 2781 4.3: UTF-16 is taken for big-endian when neither the name nor a mark tells the
    // order.  Reading drops one mark: text that begins with its own gets another.
    void writeMark(const _zqCharset& charset, LogBase& log) {
        static constexpr unsigned char kMark[] = {0xEF, 0xBB, 0xBF};
        const int codePage = charset.getCodePage();
        const bool hasMark = m_bytes->getSize() >= sizeof kMark &&
                             std::memcmp(m_bytes->getData2(), kMark, sizeof kMark) == 0;
        if (charset.needsByteOrderMark() || (hasMark && codepage::isUtf16Or32(codePage)))
            EncodingConvert::EncConvert(codepage::kUtf8, codePage, kMark, sizeof kMark, m_converted,
                                        log);
    }

    const DataBuffer* m_bytes;
    DataBuffer m_converted;
};

}  // namespace

// The code page in which the body is sent; UTF-8 where the stored bytes go out as they are.
// Kept on purpose: US-ASCII goes out as ISO-8859-1, so that no byte is lost.
int MimeMessage2::wireCodePage(bool isText) const {
    int codePage = m_charset.getCodePage();
    if (codePage == codepage::kNone) return codepage::kUtf8;
    if (codePage == codepage::kAscii) codePage = codepage::kLatin1;
    return isToBeConverted(codePage, isText) ? codePage : codepage::kUtf8;
}

// Kept on purpose: "text/" anywhere in the field makes a loader read text, whatever the type.
bool MimeMessage2::isReadAsText() const {
    if (isMultipart()) return true;
    LogNull silent;
    return typeTraits(silent).isText;
}

// What was read is sent as it was read while label and coding are still the same.  Text that was
// kept goes into a charset that it is given, and under another coding into its own where that
// loses nothing.
bool MimeMessage2::isToBeConverted(int codePage, bool isText) const {
    const Stored stored = m_received.stored;
    const bool isSameLabel = m_received.label == m_charset.getCodePage();
    if (stored == Stored::AsUtf8) return isText;
    if (stored != Stored::NoText && stored != Stored::AsItCame)
        return isText || (isSameLabel && isReadAsText());
    const bool isSameCoding =
        stored == Stored::NoText || m_received.hadCoding(m_contentTransferEncoding);
    if (!isText || (isSameLabel && isSameCoding)) return false;
    const unsigned char* const body = m_mimeBody.getData2();
    const unsigned size = m_mimeBody.getSize();
    return _zqUtf::isValidUtf8(body, size, 0) &&
           (!isSameLabel ||
            EncodingConvert::canHold(codePage, reinterpret_cast<const char*>(body), size));
}

// True when the body was loaded and is still what its bytes, as they came in this code page,
// say.  One that was set is what its setter made of it, and is converted.
bool MimeMessage2::readsAsReceived(int codePage, LogBase& log) const {
    const DataBuffer* const bytes = m_received.bytes();
    DataBuffer utf8;
    return m_received.stored != Stored::AsUtf8 && bytes && !bytes->isEmpty() &&
           m_received.codePage == codePage &&
           EncodingConvert::EncConvert(codePage, codepage::kUtf8, bytes->getData2(),
                                       bytes->getSize(), utf8, log) &&
           utf8.equals(m_mimeBody);
}

// Kept on purpose: "text/" counts only in lower case; other XML types and JSON do not count.
void MimeMessage2::getMimeBodyEncoded2(StringBuffer& out, LogBase& log) const {
    OperationContext context(log, "getMimeBodyEncoded2");
    if (!isAlive()) return;
    const int codePage = m_charset.getCodePage();
    const StringBuffer& type = m_contentType.m_type;
    log.verboseLong("charsetCodePage", codePage);
    log.verboseData("contentType", type.getString());
    const bool isText =
        codePage != codepage::kNone &&
        (type.beginsWith("text/") || type.containsSubstringNoCase("application/xml"));
    WireBytes wire(m_mimeBody);
    const int wireCp = isText ? wireCodePage(isText) : codepage::kUtf8;
    if (wireCp != codepage::kUtf8) {
        log.verboseInfo("Converting MIME body from utf-8..");
        if (readsAsReceived(wireCp, log)) wire.take(*m_received.bytes());
        else wire.convertLabelled(m_charset, wireCp, log);
    }
    const WireCoding coding = codingOf(m_contentTransferEncoding);
    if (coding == WireCoding::None) {
        log.verboseInfo("Appending from 8bit, 7bit, or binary encoding...");
        if (isText && codePage != codepage::kUtf8)
            storeRelaxed(m_binaryCodePage, codePage);
    }
    wire.encode(coding, out);
}

void MimeMessage2::getMimeBodyEncodedDb(DataBuffer& out, LogBase& log) const {
    OperationContext context(log, "getMimeBodyEncodedDb");
    if (!isAlive()) return;
    const int codePage = m_charset.getCodePage();
    const StringBuffer& type = m_contentType.m_type;
    log.verboseLong("charsetCodePage", codePage);
    log.verboseData("contentType", type.getString());
    const bool isText = codePage != codepage::kNone &&
                        (type.beginsWith("text/") || type.containsSubstringNoCase("xml") ||
                         type.containsSubstringNoCase("json"));
    WireBytes wire(m_mimeBody);
    const int wireCp = wireCodePage(isText);
    if (wireCp != codepage::kUtf8) {
        log.verboseInfo("Converting text from stored utf-8 to target code page.");
        if (readsAsReceived(wireCp, log)) wire.take(*m_received.bytes());
        else wire.convertLabelled(m_charset, wireCp, log);
    }
    const WireCoding coding = codingOf(m_contentTransferEncoding);
    log.verboseInfo(coding == WireCoding::None     ? "Appending body with no encoding.."
                    : coding == WireCoding::Base64 ? "Appending base64 encoded body.."
                                                   : "Appending quoted-printable encoded body..");
    wire.encode(coding, out);
}

// Kept on purpose: a body with a zero byte becomes base64 whatever the coding says, since XML
// text cannot hold it.
void MimeMessage2::getMimeBodyEncoded2aUtf8(StringBuffer& out, LogBase&) const {
    if (!isAlive()) return;
    WireCoding coding = codingOf(m_contentTransferEncoding);
    if (coding == WireCoding::None && m_mimeBody.containsChar('\0')) coding = WireCoding::Base64;
    WireBytes(m_mimeBody).encode(coding, out);
}

// Kept on purpose: these convert to whatever code page the caller names, for any body.
void MimeMessage2::getMimeBodyQP(StringBuffer& out, int codePage, LogBase& log) const {
    if (!isAlive()) return;
    WireBytes wire(m_mimeBody);
    if (codePage != codepage::kUtf8) wire.convertTo(codePage, log);
    wire.encode(WireCoding::QuotedPrintable, out);
}

void MimeMessage2::getMimeBodyBase64(StringBuffer& out, int codePage, LogBase& log) const {
    if (!isAlive()) return;
    WireBytes wire(m_mimeBody);
    if (codePage != codepage::kUtf8) wire.convertTo(codePage, log);
    wire.encode(WireCoding::Base64, out);
}

void MimeMessage2::getMimeBody8Bit(DataBuffer& out, int codePage, LogBase& log) const {
    OperationContext context(log, "getMimeBody8Bit");
    if (!isAlive()) return;
    log.verboseLong("codePage", codePage);
    WireBytes wire(m_mimeBody);
    if (codePage != codepage::kNone && codePage != codepage::kUtf8) wire.convertTo(codePage, log);
    wire.encode(WireCoding::None, out);
}
