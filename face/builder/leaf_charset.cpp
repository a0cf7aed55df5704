// SPDX-License-Identifier: Apache-2.0
// Changes the charset of texts that were read: the label, and the coding where the new bytes
// need another one.

#include "face/builder/leaf_charset.h"

#include <new>

#include "face/builder/wire.h"
#include "face/message/uuencode.h"
#include "foundation/EncodingConvert.h"
#include "foundation/_zqUtf.h"
#include "foundation/bytes/bytes.h"
#include "foundation/charset/code_pages.h"

namespace mimetree::inner {

namespace {

// The engine stores the bytes of text attachments as they are; they become UTF-8 here.  Those of a
// text in uuencode stay as they are.
bool hasUtf8Body(MimeMessage2& leaf, LogBase& log) {
    if (isUuencoded(leaf)) return false;
    const DataBuffer& body = leaf.getMimeBodyDb();
    StringBuffer charset;
    if (leaf.getCharsetCodePage() == codepage::kNone && !body.is7bit() &&
        leaf.getSubFieldUtf8("Content-Type", "charset", charset, log)) {
        const int codePage = _zqCharset::codePageOf(charset.getString(), charset.getSize());
        if (!EncodingConvert::isKnown(codePage)) return false;
        DataBuffer utf8;
        if (!EncodingConvert::EncConvert(codePage, codepage::kUtf8, body.getData2(), body.getSize(),
                                         utf8, log))
            throw std::bad_alloc();
        leaf.setMimeBodyBinary2(utf8.getData2(), utf8.getSize(), log);
    }
    return _zqUtf::isValidUtf8(body.getData2(), body.getSize(), 0);
}

// RFC 2045 6.2: text in another charset may need another coding.
void fixCoding(MimeMessage2& leaf, LogBase& log) {
    const bool isBase64 = leaf.m_contentTransferEncoding.equalsIgnoreCase("base64");
    if (isBase64 || (isEncoded(leaf) && mayBeQuoted(leaf))) return;
    const DataBuffer bytes = wireBytes(leaf, log);
    const WireFacts facts =
        factsOf({reinterpret_cast<const char*>(bytes.getData2()), bytes.getSize()});
    if (!facts.fitsLines()) leaf.setContentEncoding(shorterCoding(leaf, bytes), log);
    else if (!facts.is7bit && !is8bit(leaf)) leaf.setContentEncoding("8bit", log);
}

}  // namespace

std::string_view typeOf(const MimeMessage2& part, const MimeMessage2* parent) {
    const StringBuffer& type = part.m_contentType.m_type;
    if (!type.isEmpty()) return {type.getString(), type.getSize()};
    const bool isInDigest =
        parent && parent->m_contentType.m_type.equalsIgnoreCase("multipart/digest");
    return isInDigest ? "message/rfc822" : "text/plain";
}

bool isText(const MimeMessage2& part, const MimeMessage2* parent) {
    const std::string_view type = typeOf(part, parent);
    return type.size() >= 5 && bytes::equalIgnoreCase(type.data(), "text/", 5);
}

bool isSealed(const MimeMessage2& part) {
    const StringBuffer& type = part.m_contentType.m_type;
    return type.equalsIgnoreCase("multipart/signed") ||
           type.equalsIgnoreCase("multipart/encrypted");
}

// The engine stores such text as if it were ISO-8859-1, and does not say so when it writes it.
void nameCharset(MimeMessage2& leaf, LogBase& log) {
    StringBuffer declared;
    const int codePage = leaf.getCharsetCodePage();
    const bool isUnnamed = codePage == codepage::kNone &&
                           !leaf.getSubFieldUtf8("Content-Type", "charset", declared, log);
    if ((isUnnamed || codePage == codepage::kAscii) && !leaf.isAttachment(log) &&
        !leaf.getMimeBodyDb().is7bit())
        leaf.setCharset("utf-8", log);
}

Recoded recode(MimeMessage2& leaf, const _zqCharset& wanted, LogBase& log) {
    if (!hasUtf8Body(leaf, log)) return Recoded::Unknown;
    const DataBuffer& body = leaf.getMimeBodyDb();
    const bool fits = EncodingConvert::canHold(
        wanted.getCodePage(), reinterpret_cast<const char*>(body.getData2()), body.getSize());
    _zqCharset charset(wanted);
    if (!fits) charset.setByCodePage(codepage::kUtf8);
    leaf.setCharset(charset, log);
    fixCoding(leaf, log);
    return fits ? Recoded::Done : Recoded::AsUtf8;
}

}  // namespace mimetree::inner
