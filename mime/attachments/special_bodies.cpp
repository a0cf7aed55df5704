// SPDX-License-Identifier: Apache-2.0

// The HTML body of a message, AppleDouble pairs (RFC 1740), uuencoded bodies, and content types
// from file names.

#include "foundation/LogNull.h"
#include "foundation/Uu.h"
#include "foundation/bytes/bytes.h"
#include "foundation/zqMimeTypes.h"
#include "foundation/zqStrings.h"
#include "mime/node/internal.h"

using namespace mimetree::inner;

// The HTML among the alternatives, or null.
MimeMessage2* MimeMessage2::htmlAlternative() const {
    for (int i = 0; i < getNumParts(); ++i) {
        MimeMessage2* child = getPart(i);
        if (child && !child->typeBeginsWith("multipart") &&
            !child->m_disposition.equalsIgnoreCase("attachment") &&
            child->m_contentType.m_type.equalsIgnoreCase("text/html"))
            return child;
    }
    return nullptr;
}

namespace {

enum class Step { Down, Found, Stop };

// One step down from a node that has parts: into the alternatives or to HTML among its
// children, or else into the first multipart.
Step stepToHtml(const MimeMessage2& node, MimeMessage2*& next) {
    for (int i = 0; i < node.getNumParts(); ++i) {
        MimeMessage2* child = node.getPart(i);
        if (!child) continue;
        next = child;
        if (child->isMultipartAlternative()) return Step::Down;
        if (child->m_contentType.m_type.containsSubstringNoCase("text/html")) return Step::Found;
    }
    for (int i = 0; i < node.getNumParts(); ++i) {
        MimeMessage2* child = node.getPart(i);
        if (!child || !child->isMultipart()) continue;
        next = child;
        return Step::Down;
    }
    return Step::Stop;
}

}  // namespace

MimeMessage2* MimeMessage2::getHtmlBodyObject(LogBase&) {
    MimeMessage2* current = this;
    while (current->isAlive() && !current->isMultipartAlternative() && current->getNumParts() > 0) {
        MimeMessage2* next = nullptr;
        const Step step = stepToHtml(*current, next);
        if (step == Step::Found) return next;
        if (step == Step::Stop) break;
        current = next;
    }
    if (!current->isAlive()) return nullptr;
    if (current->isMultipartAlternative()) return current->htmlAlternative();
    return current->m_contentType.m_type.equalsIgnoreCase("text/html") ? current : nullptr;
}

// Kept on purpose: unlike getHtmlBodyObject this follows first children only, and of the
// alternatives it gives the body of the multipart itself.
bool MimeMessage2::getHtmlBody(DataBuffer& out, LogBase&) {
    const MimeMessage2* current = this;
    while (current->isAlive() && !current->isMultipartAlternative() && current->getNumParts() > 0) {
        const MimeMessage2* first = current->getPart(0);
        if (!first) break;
        current = first;
    }
    if (!current->isAlive()) return false;
    const bool isHtml = current->isMultipartAlternative()
                            ? current->htmlAlternative() != nullptr
                            : current->m_contentType.m_type.equalsIgnoreCase("text/html");
    return isHtml && out.append(current->m_mimeBody);
}

// RFC 1740: the first part holds the Macintosh's own data, the second the file.
MimeMessage2* MimeMessage2::getAppleDoubleAttachment(LogBase&) {
    if (!isAlive() || !m_contentType.m_type.equalsIgnoreCase("multipart/appledouble"))
        return nullptr;
    if (!m_subParts.elementAt(1)) return nullptr;  // an empty slot stays
    return static_cast<MimeMessage2*>(m_subParts.removeAt(1));
}

// Kept on purpose: the node is not marked modified.
// Tolerated: a body that is not uuencoded after all; it stays as it is.
void MimeMessage2::uuDecodeAttachment(LogBase& log) {
    if (!isAlive() || !m_contentTransferEncoding.equalsIgnoreCase("X-UUencode")) return;
    StringBuffer text;
    text.append(m_mimeBody);
    DataBuffer decoded;
    if (Uu().uu_decode(text, decoded, log)) {
        clearMimeBody();
        m_mimeBody.takeData(decoded);
        noteReceived(Stored::NoText);
    }
    LogNull silent;
    m_contentTransferEncoding.setString("base64");
    m_mimeHeader.replaceMimeFieldUtf8("Content-Transfer-Encoding", "base64", silent);
}

// -- Types from names

void MimeMessage2::getTypeFromFilename(const char* filename, StringBuffer& out, LogBase& log) {
    if (!isAlive()) return;
    const char* const dot = zqStrrChr(filename, '.');
    StringBuffer extension;
    if (dot) extension.append(dot + 1);
    out.clear();
    if (dot) getTypeFromExtension(extension.getString(), out, log);
}

// Kept on purpose: the first letter must fit exactly, so "PDF" finds no row.
void MimeMessage2::getTypeFromExtension(const char* extension, StringBuffer& out, LogBase&) {
    if (!isAlive()) return;
    StringBuffer wanted;
    wanted.setString(extension);
    out.clear();
    for (int i = 0; *zqMimeContentType(i + 1); i += 2) {
        const char* row = zqMimeContentType(i + 1);
        if (row[0] != wanted.getString()[0] || !wanted.equalsIgnoreCase(row)) continue;
        out.setString(zqMimeContentType(i));
        return;
    }
    const char* const known = zqExtensionToContentType(wanted.getString());
    if (!zqStrEqualsIgnoreCase(known, "application/octet-stream")) out.setString(known);
}
