// SPDX-License-Identifier: Apache-2.0

// Putting a body into a node: the transfer coding is taken off and text is converted to
// UTF-8.  The charset that a sender declares is often wrong; here it is decided when to
// believe it.  body_parse.cpp calls decodeBody for every leaf.

#include <cstring>
#include <string_view>

#include "foundation/ContentCoding.h"
#include "foundation/EncodingConvert.h"
#include "foundation/Uu.h"
#include "foundation/_zqUtf.h"
#include "foundation/base/relaxed.h"
#include "foundation/bytes/bytes.h"
#include "foundation/coding/quoted_printable.h"
#include "mime/node/internal.h"

using namespace mimetree::inner;

namespace {

// How far a body is looked at for 8-bit bytes and for the name of its charset.
constexpr unsigned k7bitProbe = 8192;
constexpr unsigned kUtf8Probe = 8000;

// From here on it matters how often a body is held.
constexpr unsigned kLongBody = 256 * 1024;

bool isIso8859(int codePage) { return codePage >= 28591 && codePage <= 28605; }
bool isWindows125x(int codePage) { return codePage >= 1250 && codePage <= 1258; }

// Bytes that may be those of the body that is about to be replaced.
class NewBody {
public:
    // Empties the body, but keeps its bytes until the new ones are made from them.
    explicit NewBody(DataBuffer& body) { m_old.takeData(body); }

private:
    DataBuffer m_old;
};

struct ByteOrderMark {
    const char* bytes;
    unsigned size;
    unsigned shortestBody;
    const char* message;  // null: nothing is said
};

// Kept on purpose: in this order, so that a UTF-32LE mark is told as UTF-16LE.
constexpr ByteOrderMark kMarks[] = {
    {"\xFF\xFE", 2, 3, "MIME body is UTF16LE."},
    {"\xFE\xFF", 2, 3, "MIME body is UTF16BE."},
    {"\xEF\xBB\xBF", 3, 3, nullptr},
    {"\xFF\xFE\x00\x00", 4, 4, "MIME body is UTF32LE."},
    {"\x00\x00\xFE\xFF", 4, 4, "MIME body is UTF32BE."},
};

const ByteOrderMark* markOf(const unsigned char* body, unsigned size) {
    for (const ByteOrderMark& mark : kMarks)
        if (size >= mark.shortestBody && std::memcmp(body, mark.bytes, mark.size) == 0)
            return &mark;
    return nullptr;
}

// What to do with quoted-printable text in a code page.
enum class QpText { Convert, Keep, Examine };

QpText treatmentOf(int codePage) {
    switch (codePage) {
        case 932:
        case 936:
        case 949:
        case 950:
        case 28595:
        case 28597:
        case 51932:
        case 51949:
        case 52936: return QpText::Convert;
        case codepage::kNone:
        case codepage::kUtf8:
        case codepage::kUtf16LE:
        case codepage::kUtf16BE:
        case codepage::kUtf32LE:
        case codepage::kUtf32BE: return QpText::Keep;
        default: return QpText::Examine;
    }
}

// Decoded quoted-printable.  What is short is decoded beside the heap, to which it goes once it
// is known what becomes of it.
class DecodedQp {
public:
    DecodedQp(const char* text, unsigned size) {
        if (!text || size > sizeof m_short) {
            ContentCoding().decodeQuotedPrintable(text, size, m_long);
            m_bytes = m_long.getData2();
            m_size = m_long.getSize();
        } else {
            m_bytes = m_short;
            m_size = static_cast<unsigned>(quoted_printable::decode(text, size, m_short) - m_short);
        }
    }

    const unsigned char* bytes() const { return m_bytes; }
    unsigned size() const { return m_size; }
    DataBuffer* owner() { return m_bytes == m_short ? nullptr : &m_long; }

    void moveTo(DataBuffer& body) {
        if (DataBuffer* const whole = owner()) body.takeData(*whole);
        else body.append(m_bytes, m_size);
    }

private:
    const unsigned char* m_bytes;
    unsigned m_size;
    DataBuffer m_long;
    unsigned char m_short[2048];
};

bool namesAndIsUtf8(const unsigned char* body, unsigned size) {
    const auto* const text = reinterpret_cast<const char*>(body);
    return bytes::find(text, size < kUtf8Probe ? size : kUtf8Probe, "utf-8", 5) &&
           _zqUtf::isValidUtf8(body, size, kUtf8Probe);
}

// ISO-8859-1 has control characters where windows-1252 has quotes and dashes, which is what
// mail means.
// Kept on purpose: the last byte is not looked at, and 0x80 and 0x81 do not count.
bool looksLike1252(const unsigned char* body, unsigned size) {
    return size != 0 && bytes::hasC1(reinterpret_cast<const char*>(body), size - 1);
}

bool isAsciiText(const unsigned char* body, unsigned size) {
    return bytes::isAscii(reinterpret_cast<const char*>(body), size);
}

// Tolerated: text labelled UTF-16LE that plainly is not.
bool isPlainlyNoUtf16(const unsigned char* body, unsigned size) {
    return isAsciiText(body, size < k7bitProbe ? size : k7bitProbe) &&
           (size == 0 || !std::memchr(body, 0, size));
}

// True where what was read tells no more what it was read from: bytes that are not valid, which
// all become U+FFFD; a byte order that may be another than the charset says; in charsets of 7
// bits, 8-bit bytes, which are read by guess, and escapes that nothing follows.
bool leadsNoWayBack(int codePage, const unsigned char* received, unsigned size,
                    const DataBuffer& utf8) {
    if (EncodingConvert::canBeInPlace(codePage)) return false;  // every byte is a character
    if (codepage::isUtf16Or32(codePage)) {
        if (markOf(received, size)) return true;
    } else if (!EncodingConvert::keepsAscii(codePage)) {
        if (!isAsciiText(received, size)) return true;
        const bool isSame = utf8.getSize() == size &&
                            (size == 0 || std::memcmp(utf8.getData2(), received, size) == 0);
        if (!isSame && isAsciiText(utf8.getData2(), utf8.getSize())) return true;
    }
    return utf8.containsSubstring("\xEF\xBF\xBD", utf8.getSize());
}

// Null stands for no bytes.
unsigned sizeAt(const void* data, unsigned size) { return data ? size : 0; }

}  // namespace

// -- By encoding

void MimeMessage2::setMimeBodyByEncoding(const char* encoding, const void* data, unsigned int size,
                                         const _zqCharset& charset, bool isText, bool bIsUtf8,
                                         LogBase& log) {
    if (isAlive()) decodeBody(encoding, data, sizeAt(data, size), charset, isText, bIsUtf8, log);
}

MimeMessage2::BodyCoding MimeMessage2::bodyCodingOf(const char* name) {
    struct Row {
        std::string_view name;
        BodyCoding coding;
    };
    static constexpr Row kRows[] = {{"quoted-printable", BodyCoding::QuotedPrintable},
                                    {"base64", BodyCoding::Base64},
                                    {"uuencode", BodyCoding::Uuencode},
                                    {"binary", BodyCoding::Binary}};
    const size_t size = name ? std::strlen(name) : 0;
    for (const Row& row : kRows)
        if (size == row.name.size() && bytes::equalIgnoreCase(name, row.name.data(), size))
            return row.coding;
    return BodyCoding::None;
}

MimeMessage2::Stored MimeMessage2::decodeBody(const char* encoding, const void* data,
                                              unsigned int size, const _zqCharset& charset,
                                              bool isText, bool bIsUtf8, LogBase& log,
                                              Given given) {
    OperationContext context(log, "setMimeBodyByEncoding");
    log.verboseData("encoding", encoding ? encoding : "");
    log.verboseLong("isText", isText);
    log.verboseLong("bIsUtf8", bIsUtf8);
    log.verboseData("charset", charset.getName());
    log.verboseLong("dataLen", static_cast<long>(size));
    m_modified = true;
    const int codePage = charset.getCodePage();
    const BodyCoding coding = bodyCodingOf(encoding);
    if (coding == BodyCoding::QuotedPrintable)
        return decodeQP(data, size, codePage, isText, log, given.owner);
    if (coding == BodyCoding::Base64)
        return decodeBase64(data, size, codePage, isText, log, given.owner);
    if (coding == BodyCoding::Uuencode) return uudecodeBody(data, size, codePage, isText, log);
    const Stored stored =
        store8bit(data, size, bIsUtf8 ? codepage::kUtf8 : codePage, isText, log, given);
    // RFC 2046 5.2.1: an attached message may not be labelled binary.
    if (coding == BodyCoding::Binary && m_contentType.m_type.equalsIgnoreCase("message/rfc822"))
        setContentEncoding("8bit", log);
    return bIsUtf8 ? Stored::AsUtf8 : stored;
}

// A body that was loaded is written without another thought: as it was stored when it was
// not converted, and in its charset when it was, whatever the type.
void MimeMessage2::noteReceived(Stored stored) {
    m_received.stored = stored;
    m_received.label = m_charset.getCodePage();
    if (stored == Stored::AsItCame) m_received.noteCoding(m_contentTransferEncoding);
}

void MimeMessage2::setMimeBodyByEncoding_Careful(const char* encoding, const StringBuffer& text,
                                                 const _zqCharset& charset, bool isText,
                                                 LogBase& log) {
    if (!isAlive()) return;
    m_modified = true;
    const BodyCoding coding = bodyCodingOf(encoding);
    if (coding == BodyCoding::Base64)
        setMimeBodyBase64(text.getString(), text.getSize(), charset, isText, log);
    else if (coding == BodyCoding::QuotedPrintable)
        setMimeBodyQP(text.getString(), text.getSize(), charset, isText, log);
    else setMimeBodyString_Unencoded(text, charset, false, log);
}

void MimeMessage2::setMimeBodyBase64(const void* data, unsigned int size, const _zqCharset& charset,
                                     bool isText, LogBase& log) {
    if (isAlive()) decodeBase64(data, sizeAt(data, size), charset.getCodePage(), isText, log);
}

MimeMessage2::Stored MimeMessage2::decodeBase64(const void* data, unsigned int size, int codePage,
                                                bool isText, LogBase& log, DataBuffer* owner) {
    OperationContext context(log, "setMimeBodyBase64");
    m_modified = true;
    const NewBody fresh(m_mimeBody);
    m_received = Received();
    ContentCoding::decodeBase64ToDb(static_cast<const char*>(data), size, m_mimeBody);
    if (owner) owner->clear();
    if (!isText) return Stored::NoText;
    if (codePage == codepage::kNone || codePage == codepage::kUtf8) return Stored::AsItCame;
    if (codePage == codepage::kUtf16LE &&
        isPlainlyNoUtf16(m_mimeBody.getData2(), m_mimeBody.getSize()))
        return Stored::AsItCame;
    return convertBodyToUtf8(codePage, log);
}

void MimeMessage2::setMimeBodyQP(const void* data, unsigned int size, const _zqCharset& charset,
                                 bool isText, LogBase& log) {
    if (isAlive()) decodeQP(data, sizeAt(data, size), charset.getCodePage(), isText, log);
}

MimeMessage2::Stored MimeMessage2::decodeQP(const void* data, unsigned int size, int codePage,
                                            bool isText, LogBase& log, DataBuffer* owner) {
    OperationContext context(log, "setMimeBodyQP");
    m_modified = true;
    log.verboseLong("cp", codePage);
    const NewBody fresh(m_mimeBody);
    m_received = Received();
    DecodedQp text(static_cast<const char*>(data), size);
    if (owner) owner->clear();
    if (!isText) {
        log.verboseInfo("Set quoted-printable non-text MIME body.");
        text.moveTo(m_mimeBody);
        return Stored::NoText;
    }
    const ByteOrderMark* const mark = markOf(text.bytes(), text.size());
    if (mark && mark->message) log.verboseInfo(mark->message);
    const QpText treatment = treatmentOf(codePage);
    const bool isExamined = treatment == QpText::Examine && text.size() >= 2;
    if (mark || treatment == QpText::Keep ||
        (isExamined && namesAndIsUtf8(text.bytes(), text.size()))) {
        text.moveTo(m_mimeBody);
        return Stored::AsItCame;
    }
    const auto convert = [&](int from) {
        return storeConverted(from, text.bytes(), text.size(), {text.owner(), false}, log);
    };
    if (isExamined && codePage == codepage::kLatin1 && looksLike1252(text.bytes(), text.size())) {
        log.logError("Has invalid iso-8859-1 bytes..");
        storeRelaxed(b_WasReally1252, true);
        convert(codepage::kWindows1252);
        return Stored::ConvertedFrom1252;
    }
    return convert(codePage);
}

// The body goes on as base64: uuencode is no MIME coding (RFC 2045 6).
// Tolerated: a body that is not uuencoded after all; it stays as it is.
MimeMessage2::Stored MimeMessage2::uudecodeBody(const void* data, unsigned int size, int codePage,
                                                bool isText, LogBase& log) {
    DataBuffer decoded;
    DataBuffer* const owner =
        Uu().uu_decode(static_cast<const char*>(data), size, decoded, log) ? &decoded : nullptr;
    if (owner) {
        data = decoded.getData2();
        size = decoded.getSize();
    }
    // As base64 it will be read by that rule, too.
    const bool keeps = codePage == codepage::kUtf16LE &&
                       isPlainlyNoUtf16(static_cast<const unsigned char*>(data), size);
    const Stored stored = store8bit(data, size, codePage, isText && !keeps, log, {owner, false});
    setContentEncoding("base64", log);
    return stored;
}

void MimeMessage2::setMimeBody8Bit_2(const void* data, unsigned int size, const _zqCharset& charset,
                                     bool isText, LogBase& log) {
    if (isAlive()) store8bit(data, sizeAt(data, size), charset.getCodePage(), isText, log);
}

// The owner of the bytes is emptied where they are stored as they are.
MimeMessage2::Stored MimeMessage2::store8bit(const void* data, unsigned int size, int codePage,
                                             bool isText, LogBase& log, Given given) {
    m_modified = true;
    const NewBody fresh(m_mimeBody);
    m_received = Received();
    if (isText) codePage = codePageOf8bit(data, size, codePage, given.isAscii, log);
    if (isText && codePage != codepage::kUtf8)
        return storeConverted(codePage, data, size, given, log);
    if (given.owner) m_mimeBody.takeData(*given.owner);
    else m_mimeBody.append(data, size);
    return isText ? Stored::AsItCame : Stored::NoText;
}

// The code page from which such text is to be converted: UTF-8 where it stays as it came.
int MimeMessage2::codePageOf8bit(const void* data, unsigned int size, int codePage, bool isAscii,
                                 LogBase& log) {
    if (codePage == codepage::kUtf8) return codePage;
    const auto* const bytes = static_cast<const unsigned char*>(data);
    const bool is7bit = isAscii || isAsciiText(bytes, size < k7bitProbe ? size : k7bitProbe);
    const bool isUnknown = codePage == codepage::kNone;
    if (isUnknown && is7bit) return codepage::kUtf8;
    // Tolerated: UTF-8 that is labelled with a single-byte charset.
    const bool isSingleByte =
        codePage == codepage::kAscii || isIso8859(codePage) || isWindows125x(codePage);
    if ((isUnknown || (isSingleByte && !is7bit)) && _zqUtf::isValidUtf8(bytes, size, 0)) {
        setCharset("utf-8", log);
        return codepage::kUtf8;
    }
    return isUnknown ? codepage::kLatin1 : codePage;
}

MimeMessage2::Stored MimeMessage2::convertBodyToUtf8(int codePage, LogBase& log) {
    DataBuffer decoded;
    decoded.takeData(m_mimeBody);
    return storeConverted(codePage, decoded.getData2(), decoded.getSize(), {&decoded, false}, log);
}

// Kept on purpose: US-ASCII is read as ISO-8859-1, which is what it is written as.
MimeMessage2::Stored MimeMessage2::storeConverted(int codePage, const void* data, unsigned int size,
                                                  Given given, LogBase& log) {
    DataBuffer* const owner = given.owner;
    const auto* const bytes = static_cast<const unsigned char*>(data);
    const auto keepIn = [&](DataBuffer& to) {
        if (owner) to.takeData(*owner);
        else to.append(data, size);
    };
    if (codePage == codepage::kAscii) codePage = codepage::kLatin1;
    if (EncodingConvert::keepsAscii(codePage) && (given.isAscii || isAsciiText(bytes, size))) {
        keepIn(m_mimeBody);
        return Stored::Converted;
    }
    if (owner && size >= kLongBody && EncodingConvert::canBeInPlace(codePage)) {
        m_mimeBody.takeData(*owner);
        return EncodingConvert::toUtf8InPlace(codePage, m_mimeBody) ? Stored::Converted
                                                                    : Stored::AsItCame;
    }
    if (!EncodingConvert::EncConvert(codePage, codepage::kUtf8, bytes, size, m_mimeBody, log)) {
        keepIn(m_mimeBody);
        m_mimeBody.markFailed();
        return Stored::AsItCame;
    }
    m_mimeBody.shrinkToFit();
    if (leadsNoWayBack(codePage, bytes, size, m_mimeBody)) {
        m_received.codePage = codePage;
        DataBuffer received;
        keepIn(received);
        m_received.takeBytes(received);
    }
    return Stored::Converted;
}

// -- Without a transfer coding

void MimeMessage2::setMimeBodyString_Unencoded(const StringBuffer& text, const _zqCharset& charset,
                                               bool, LogBase& log) {
    if (!isAlive()) return;
    clearMimeBody();
    m_modified = true;
    m_mimeBody.append(text);
    const int codePage = charset.getCodePage();
    if (codePage != codepage::kNone && codePage != codepage::kUtf8)
        convertBodyToUtf8(codePage, log);
}

void MimeMessage2::setMimeBodyString(XString& text, LogBase&) {
    if (!isAlive()) return;
    clearMimeBody();
    m_modified = true;
    m_mimeBody.append(text.getUtf8Sb());
}

void MimeMessage2::setMimeBodyString_UnencodedX(XString& text, LogBase& log) {
    setMimeBodyString(text, log);
}

bool MimeMessage2::setBodyFromPlainText(XString& text, LogBase& log) {
    if (!isAlive()) return false;
    OperationContext context(log, "setBodyFromPlainText");
    setMimeBodyString(text, log);
    if (!text.is7bit() && m_charset.getCodePage() == codepage::kNone) {
        setContentType("text/plain", false, log);
        setCharset("utf-8", log);
    } else {
        log.logData("existingCharset", m_charset.getName());
        setContentType("text/plain", true, log);
    }
    if (m_contentTransferEncoding.isEmpty())
        setContentEncoding(text.is7bit() ? "7bit" : "8bit", log);
    return true;
}

void MimeMessage2::setMimeBodyBinary2(const unsigned char* data, unsigned int size, LogBase&) {
    if (!isAlive()) return;
    m_modified = true;
    const NewBody fresh(m_mimeBody);
    m_received = Received();
    m_mimeBody.append(data, size);
}

// Kept on purpose: this does not mark the node modified.
void MimeMessage2::clearMimeBody() {
    if (!isAlive()) return;
    m_mimeBody.clear();
    m_received = Received();
}

// -- The coding

void MimeMessage2::setContentEncoding(const char* encoding, LogBase& log) {
    if (!isAlive()) return;
    m_modified = true;
    m_contentTransferEncoding.setString(encoding);
    const StringBuffer value(m_contentTransferEncoding);
    m_mimeHeader.replaceMimeFieldUtf8("Content-Transfer-Encoding",
                                      encoding ? value.getString() : nullptr, log);
    cacheEncoding(log);
}
