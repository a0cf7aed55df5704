// SPDX-License-Identifier: Apache-2.0

// A tree described in XML, and as an outline of its content types.  The header's part of the
// XML is written by foundation/header/header_xml.cpp; xml_in.cpp reads it all back.

#include "foundation/ClsXml.h"
#include "foundation/EncodingConvert.h"
#include "foundation/bytes/GrowArray.h"
#include "foundation/bytes/MemoryWatch.h"
#include "foundation/header/header_fields.h"
#include "foundation/xml/output.h"
#include "foundation/zqStrings.h"
#include "mime/node/internal.h"

using namespace mimetree::inner;

// The header and the "body" element with its content, but without the parts; gives a handle
// to "body".
bool MimeMessage2::startXml(ClsXml& xml, ClsXml*& body, XmlOutput* out, LogBase& log) {
    if (!m_mimeHeader.printXml(xml, out, log)) return false;
    body = xml.newChild("body", nullptr, nullptr);
    if (!body || m_mimeBody.isEmpty()) return body != nullptr;
    StringBuffer text;
    getMimeBodyEncoded2aUtf8(text, log);
    const bool isEncoded = m_contentTransferEncoding.equalsIgnoreCase2("base64", 6) ||
                           m_contentTransferEncoding.equalsIgnoreCase2("quoted-printable", 16);
    if (!isEncoded) body->put_Cdata(true);
    const bool isHidden = !isEncoded && m_mimeBody.containsChar('\0');
    if (text.failed()) return false;
    body->takeContent(text);
    return (!isHidden || body->addAttributeUtf8(kXmlCoding, kXmlBase64)) &&
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

namespace mimetree::inner {

// Writes a tree into elements, which are printed as soon as they are whole where there is an
// output.  A child that cannot be converted is left as far as it got, and its siblings go on.
class XmlTreeWriter {
public:
    XmlTreeWriter(ClsXml& root, XmlOutput* out, LogBase& log)
        : m_root(root), m_out(out), m_log(log) {}

    bool write(MimeMessage2& node) {
        if (!open(node, m_root)) return false;
        while (!m_levels.isEmpty()) {
            Level& level = m_levels.back();
            if (!m_isPrinted || level.next == level.node->getNumParts()) close();
            else if (MimeMessage2* const child = level.node->getPart(level.next++)) add(*child);
        }
        return m_isPrinted;
    }

private:
    struct Level {
        MimeMessage2* node;
        ClsXml* body;
        int next;
    };

    bool open(MimeMessage2& node, ClsXml& message) {
        ClsXml* body = nullptr;
        if (!node.isAlive()) return false;
        m_log.enterContext("getMimeXml", m_log.m_verbose);
        if (node.startXml(message, body, m_out, m_log) && m_levels.push(Level{&node, body, 0})) {
            printFront(message);
            return true;
        }
        if (body) body->deleteSelf();
        m_log.leaveContext();
        return false;
    }

    // What could not be opened ends here, as far as it got.
    void add(MimeMessage2& child) {
        ClsXml& body = *m_levels.back().body;
        ClsXml* const subpart = body.newChild("subpart", nullptr, nullptr);
        if (!subpart) return;
        printFront(body);
        if (ClsXml* const message = subpart->newChild("mime_message", nullptr, nullptr)) {
            printFront(*subpart);
            if (!open(child, *message)) printEnds(*message, 2);
            message->deleteSelf();
        } else {
            printEnds(*subpart, 1);
        }
        subpart->deleteSelf();
    }

    void close() {
        ClsXml* const body = m_levels.back().body;
        m_levels.pop();
        const int withinSubpart = 3;  // body, mime_message, subpart
        printEnds(*body, m_levels.isEmpty() ? 1 : withinSubpart);
        body->deleteSelf();
        m_log.leaveContext();
    }

    void printFront(ClsXml& element) {
        if (m_out && m_isPrinted) m_isPrinted = element.printFront(*m_out);
    }

    void printEnds(ClsXml& element, int count) {
        for (; m_out && m_isPrinted && count > 0; --count) m_isPrinted = element.printEnd(*m_out);
    }

    ClsXml& m_root;
    XmlOutput* const m_out;
    LogBase& m_log;
    GrowArray<Level, 8> m_levels;
    bool m_isPrinted = true;
};

}  // namespace mimetree::inner

bool MimeMessage2::getMimeXmlR(ClsXml& xml, LogBase& log) {
    return XmlTreeWriter(xml, nullptr, log).write(*this);
}

// With `out` as it was when something is missing.
bool MimeMessage2::getMimeXml(StringBuffer& out, LogBase& log) {
    const unsigned before = out.getSize();
    XmlOutput output(out);
    if (isAlive() && printXml(output, log)) return true;
    out.shorten(out.getSize() - before);
    return false;
}

bool MimeMessage2::writeMimeXml(TakeXml take, void* context, LogBase& log) {
    StringBuffer piece;
    XmlOutput output(piece, take, context);
    return isAlive() && printXml(output, log);
}

bool MimeMessage2::printXml(XmlOutput& out, LogBase& log) {
    const MemoryWatch memory;
    ClsXml* const xml = ClsXml::createNewCls();
    if (!xml) return false;
    xml->put_TagUtf8("mime_message");
    XmlTreeWriter writer(*xml, &out, log);
    const bool isPrinted = writer.write(*this) && xml->printEnd(out);
    xml->deleteSelf();
    if (memory.wasRefused()) log.logError("Out of memory.");
    return isPrinted && !memory.wasRefused();
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
