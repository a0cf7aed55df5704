// SPDX-License-Identifier: Apache-2.0

// A tree described in XML, and as an outline of its content types.  The header's part of the
// XML is written by foundation/header/header_xml.cpp; xml_in.cpp reads it all back.

#include "foundation/ClsXml.h"
#include "foundation/EncodingConvert.h"
#include "foundation/bytes/GrowArray.h"
#include "foundation/bytes/MemoryWatch.h"
#include "foundation/header/header_fields.h"
#include "foundation/zqStrings.h"
#include "mime/node/internal.h"

using namespace mimetree::inner;

bool MimeMessage2::getMimeXml(StringBuffer& out, LogBase& log) {
    if (!isAlive()) return false;
    ClsXml* xml = ClsXml::createNewCls();
    if (!xml) return false;
    const MemoryWatch memory;
    xml->put_TagUtf8("mime_message");
    getMimeXmlR(*xml, log);
    const bool isWhole = !memory.wasRefused();
    if (!isWhole) log.logError("Out of memory.");
    const bool written = isWhole && xml->getXml(false, out, log);
    xml->deleteSelf();
    return written;
}

// The header and the "body" element with its content, but without the parts; gives a handle
// to "body".
bool MimeMessage2::startXml(ClsXml& xml, ClsXml*& body, LogBase& log) {
    if (!m_mimeHeader.mimeHeaderToXml(xml, getCharsetCodePage(), nullptr, log)) return false;
    body = xml.newChild("body", nullptr, nullptr);
    if (!body || m_mimeBody.isEmpty()) return body != nullptr;
    StringBuffer text;
    getMimeBodyEncoded2aUtf8(text, log);
    const bool isEncoded = m_contentTransferEncoding.equalsIgnoreCase2("base64", 6) ||
                           m_contentTransferEncoding.equalsIgnoreCase2("quoted-printable", 16);
    if (!isEncoded) body->put_Cdata(true);
    const bool isHidden = !isEncoded && m_mimeBody.containsChar('\0');
    return body->setContent(text.getString(), text.getSize()) &&
           (!isHidden || body->addAttributeUtf8(kXmlCoding, kXmlBase64)) &&
           (!isBodyAsReceived(log) || body->addAttributeUtf8(kXmlBytes, kXmlAsReceived));
}

// A body whose bytes go out as they were received, whatever its header says of their charset.
bool MimeMessage2::isBodyAsReceived(LogBase& log) const {
    const bool isText = m_contentType.m_type.beginsWith("text/");
    StringBuffer value;
    _zqContentType type;
    _zqCharset declared;
    if (wireCodePage(isText) != codepage::kUtf8 || !decodedField("content-type", value, log))
        return false;
    type.loadFromMimeHeaderValue(value.getString(), declared, log);
    const int codePage = declared.getCodePage();
    return codePage != codepage::kNone && codePage != codepage::kUtf8 &&
           !(EncodingConvert::keepsAscii(codePage) && m_mimeBody.is7bit(0xFFFFFFFFu));
}

// A child that cannot be converted is left as far as it got, and its siblings go on.
bool MimeMessage2::getMimeXmlR(ClsXml& xml, LogBase& log) {
    struct Level {
        MimeMessage2* node;
        ClsXml* body;
        int next;
    };
    GrowArray<Level, 8> levels;
    const auto open = [&](MimeMessage2* node, ClsXml& element) {
        ClsXml* body = nullptr;
        if (!node->isAlive()) return false;
        log.enterContext("getMimeXml", log.m_verbose);
        if (node->startXml(element, body, log) && levels.push(Level{node, body, 0})) return true;
        if (body) body->deleteSelf();
        log.leaveContext();
        return false;
    };
    if (!open(this, xml)) return false;
    while (!levels.isEmpty()) {
        Level& level = levels.back();
        if (level.next == level.node->getNumParts()) {
            level.body->deleteSelf();
            levels.pop();
            log.leaveContext();
            continue;
        }
        MimeMessage2* child = level.node->getPart(level.next++);
        ClsXml* subpart = child ? level.body->newChild("subpart", nullptr, nullptr) : nullptr;
        ClsXml* message = subpart ? subpart->newChild("mime_message", nullptr, nullptr) : nullptr;
        if (subpart) subpart->deleteSelf();
        if (!message) continue;
        open(child, *message);
        message->deleteSelf();
    }
    return true;
}

// -- Outline

namespace {

enum class OutlineTag { Leaf, Open, Close };

// What is no name in XML is spelled.
void appendOutlineTag(const StringBuffer& type, OutlineTag kind, int indent, StringBuffer& out) {
    StringBuffer name(type);
    name.replaceCharAnsi('/', '-');
    if (name.failed()) out.markFailed();
    out.appendCharN(' ', static_cast<unsigned>(indent));
    out.append(kind == OutlineTag::Close ? "</" : "<");
    ClsXml::xmlNameFromBytes(name.getString(), name.getSize(), out);
    out.append(kind == OutlineTag::Leaf ? " />\r\n" : ">\r\n");
}

// Limit: a type that holds a line break is one line all the same.
void appendOutlineLine(const StringBuffer& type, int indent, StringBuffer& out) {
    StringBuffer line(type);
    line.replaceCharAnsi('\r', ' ');
    line.replaceCharAnsi('\n', ' ');
    if (line.failed()) out.markFailed();
    out.appendCharN(' ', static_cast<unsigned>(indent));
    out.append(line);
    out.append("\r\n");
}

}  // namespace

// Where memory is refused, `out` is marked as incomplete.
void MimeMessage2::getMimeStructure(int format, int indent, StringBuffer& out, LogBase& log) {
    constexpr int kXmlLike = 1, kStep = 4;
    struct Level {
        MimeMessage2* node;
        int next;
        int indent;
    };
    if (indent < 0) indent = 0;
    GrowArray<Level, 16> levels;
    const auto open = [&](MimeMessage2* node, int depth) {
        if (!node->isAlive()) return;
        const StringBuffer& type = node->m_contentType.m_type;
        const bool hasParts = node->getNumParts() > 0;
        if (format == kXmlLike)
            appendOutlineTag(type, hasParts ? OutlineTag::Open : OutlineTag::Leaf, depth, out);
        else appendOutlineLine(type, depth, out);
        if (!hasParts || levels.push(Level{node, 0, depth})) return;
        log.logError("Out of memory.");
        out.markFailed();
    };
    open(this, indent);
    while (!levels.isEmpty()) {
        Level& level = levels.back();
        if (level.next < level.node->getNumParts()) {
            MimeMessage2* child = level.node->getPart(level.next++);
            if (child) open(child, level.indent + kStep);
            continue;
        }
        if (format == kXmlLike)
            appendOutlineTag(level.node->m_contentType.m_type, OutlineTag::Close, level.indent,
                             out);
        levels.pop();
    }
}

bool MimeMessage2::needsCData(const char* s) const {
    if (!isAlive() || !s) return false;
    if (zqStrStr(s, "<![CDATA[") && zqStrStr(s, "]]>")) return false;
    for (const char* p = s; *p; ++p)
        if (zqStrChr("\n\t&><", *p)) return true;
    return false;
}
