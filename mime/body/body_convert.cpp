// SPDX-License-Identifier: Apache-2.0

// Changing how stored bodies will be written: binary leaves to base64 and back, a 7-bit coding
// for 8-bit leaves, percent-encoding.

#include "foundation/LogNull.h"
#include "foundation/_zqUrlEncode.h"
#include "mime/node/internal.h"

using namespace mimetree::inner;

namespace {

enum BinarySafeState : uint8_t { kUntouched = 0, kWasBinary = 1, kWasWithout = 2 };

const char kCodingField[] = "Content-Transfer-Encoding";

bool isCarriedAsText(const StringBuffer& type) {
    return type.beginsWithIgnoreCase("text/") || type.equalsIgnoreCase("message/rfc822") ||
           type.equalsIgnoreCase("application/xml") || type.equalsIgnoreCase("application/json");
}

}  // namespace

// Kept on purpose: below a node that is carried as text nothing is touched.
void MimeMessage2::makeBinarySafeForString() {
    if (!isAlive()) return;
    TreeWalk walk(*this);
    for (MimeMessage2* node = this; node; node = walk.next()) {
        if (!node->isAlive()) continue;
        node->m_binarySafeState = kUntouched;
        if (isCarriedAsText(node->m_contentType.m_type)) {
            if (node == this) return;
            walk.skipChildren();
        } else if (node->getNumParts() == 0) {
            node->makeLeafBinarySafe();
        }
    }
}

void MimeMessage2::makeLeafBinarySafe() {
    if (typeBeginsWith("multipart/") || m_mimeBody.isEmpty() || m_mimeBody.is7bit(10000)) return;
    const bool hasCoding = !m_contentTransferEncoding.isEmpty();
    if (hasCoding && !m_contentTransferEncoding.equalsIgnoreCase("binary")) return;
    LogNull silent;
    m_contentTransferEncoding.setString("base64");
    m_mimeHeader.replaceMimeFieldUtf8(kCodingField, "base64", silent);
    m_binarySafeState = hasCoding ? kWasBinary : kWasWithout;
}

// Kept on purpose: the state stays, so that another call does the same again.
void MimeMessage2::restoreBinarySafeForString() {
    if (!isAlive()) return;
    LogNull silent;
    TreeWalk walk(*this);
    for (MimeMessage2* node = this; node; node = walk.next()) {
        if (!node->isAlive()) continue;
        if (node->m_binarySafeState == kWasWithout) {
            node->m_contentTransferEncoding.clear();
            node->m_mimeHeader.removeMimeField(kCodingField, true);
        } else if (node->m_binarySafeState == kWasBinary) {
            node->m_contentTransferEncoding.setString("binary");
            node->m_mimeHeader.replaceMimeFieldUtf8(kCodingField, "binary", silent);
        }
    }
}

namespace {

bool wants7bitCoding(const MimeMessage2& leaf) {
    const StringBuffer& coding = leaf.m_contentTransferEncoding;
    if (coding.equalsIgnoreCase("8bit") || coding.equalsIgnoreCase("binary")) return true;
    const StringBuffer& disposition = leaf.m_disposition;
    return coding.isEmpty() && (disposition.equalsIgnoreCase("form-data") ||
                                disposition.equalsIgnoreCase("attachment"));
}

bool isReadableAsText(const MimeMessage2& leaf) {
    StringBuffer name(leaf.m_filename);
    name.toLowerCase();
    return leaf.m_contentType.m_type.beginsWith("text/") || name.endsWith(".txt") ||
           name.endsWith(".xml") || name.containsSubstring(".htm");
}

}  // namespace

void MimeMessage2::convert8Bit(LogBase&) {
    if (!isAlive()) return;
    TreeWalk walk(*this);
    for (MimeMessage2* node = this; node; node = walk.next()) {
        if (!node->isAlive() || node->getNumParts() > 0 || !wants7bitCoding(*node)) continue;
        const bool readable = isReadableAsText(*node) || node->m_mimeBody.is7bit(4096);
        node->m_contentTransferEncoding.setString(readable ? "quoted-printable" : "base64");
    }
}

// Kept on purpose: the text in front of its percent-encoded form stays.
void MimeMessage2::urlEncodeBody(const char* charsetName, LogBase& log) {
    if (!isAlive()) return;
    m_modified = true;
    _zqCharset charset;
    charset.setByName(charsetName);
    StringBuffer text;
    text.append(m_mimeBody);
    if (charset.getCodePage() != codepage::kUtf8)
        text.convertEncoding(codepage::kUtf8, charset.getCodePage(), log);
    clearMimeBody();
    m_mimeBody.append(text);
    StringBuffer encoded;
    _zqUrlEncode::urlEncode3(m_mimeBody.getData2(), m_mimeBody.getSize(), encoded);
    m_mimeBody.append(encoded);
}
