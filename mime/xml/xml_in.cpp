// SPDX-License-Identifier: Apache-2.0

// Trees from the XML that xml_out.cpp writes: header text and body bytes are put together from
// the elements and loaded by load.cpp, so that all rules of parsing apply.

#include <algorithm>
#include <cstring>
#include <new>

#include "foundation/ClsXml.h"
#include "foundation/ContentCoding.h"
#include "foundation/LogNull.h"
#include "foundation/TreeNode.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/GrowArray.h"
#include "foundation/bytes/MemoryWatch.h"
#include "foundation/bytes/bytes.h"
#include "foundation/header/header_fields.h"
#include "foundation/xml/names.h"
#include "foundation/zqStrings.h"
#include "mime/node/internal.h"

using namespace mimetree::inner;

namespace {

const char kMessageTag[] = "mime_message";

bool hasTag(const TreeNode& element, const char* tag) {
    return zqStrCmp(element.getTag(), tag) == 0;
}

// A parsed document, released at the end.
class ParsedXml {
public:
    ParsedXml(const StringBuffer& xml, LogBase& log)
        : m_root(TreeNode::customParseString(xml, &log, true, false, false)) {}
    ParsedXml(const ParsedXml&) = delete;
    ParsedXml& operator=(const ParsedXml&) = delete;
    ~ParsedXml() {
        if (m_root) VantrelObject::deleteObject(m_root->getDocument());
    }
    TreeNode* root() const { return m_root; }

private:
    TreeNode* const m_root;
};

void decode8bitWords(StringBuffer& text) {
    DataBuffer decoded;
    ContentCoding().QB_Decode(text, decoded);
    text.takeFromDb(decoded);
}

bool hasAttribute(const TreeNode& element, const char* name, const char* value) {
    StringBuffer text;
    for (int i = 0; i < element.getNumAttributes(); ++i) {
        text.weakClear();
        element.getAttributeName(i, text);
        if (!text.equals(name)) continue;
        text.weakClear();
        element.getAttributeValue(i, text);
        return text.equals(value);
    }
    return false;
}

// Kept on purpose: beside parts, text is not read.
void appendBodyText(const TreeNode& body, StringBuffer& out) {
    if (body.getNumChildren() > 0) return;
    if (!hasAttribute(body, kXmlCoding, kXmlBase64)) {
        body.copyDecodeContent(out);
        return;
    }
    StringBuffer text;
    DataBuffer bytes;
    body.copyDecodeContent(text);
    ContentCoding::decodeBase64ToDb(text.getString(), text.getSize(), bytes);
    out.append(bytes);
}

}  // namespace

// -- Documents

MimeMessage2* MimeMessage2::createMimeFromXml(const StringBuffer& xml, const char* tag,
                                              bool addPreamble, LogBase& log) {
    const ParsedXml document(xml, log);
    TreeNode* const root = document.root();
    if (!root) return nullptr;
    TreeNode* element = hasTag(*root, tag) ? root : root->searchForTag(nullptr, tag);
    return element ? createMimeFromTree(*element, addPreamble, log) : nullptr;
}

bool MimeMessage2::createMultipleFromXml(const StringBuffer& xml, const char* tag, ExtPtrArray& out,
                                         bool addPreamble, LogBase& log) {
    const MemoryWatch memory;
    const ParsedXml document(xml, log);
    if (!document.root()) return false;
    const int before = out.getSize();
    findMimeAndCreate(*document.root(), tag ? tag : kMessageTag, out, addPreamble, log);
    if (!memory.wasRefused()) return true;
    while (out.getSize() > before) deleteObject(out.removeAt(out.getSize() - 1));
    return false;
}

// Elements inside one that matched are parts of its message.
void MimeMessage2::findMimeAndCreate(TreeNode& node, const char* tag, ExtPtrArray& out,
                                     bool addPreamble, LogBase& log) {
    struct Level {
        TreeNode* element;
        int next;
    };
    GrowArray<Level, 16> levels;
    const auto visit = [&](TreeNode& element) {
        if (!hasTag(element, tag)) return levels.push(Level{&element, 0});
        MimeMessage2* made = createMimeFromTree(element, addPreamble, log);
        if (!made || out.appendPtr(made)) return true;
        deleteObject(made);
        return false;
    };
    bool ok = visit(node);
    while (ok && !levels.isEmpty()) {
        Level& level = levels.back();
        TreeNode* child = level.element->getChild(level.next++);
        if (child) ok = visit(*child);
        else levels.pop();
    }
    if (!ok) log.logError("Out of memory.");
}

// -- One message

// Builds the node of an element, its parts first.  Elements whose parts are still to be built
// wait on a list of their own.
class mimetree::inner::XmlTreeBuilder {
public:
    XmlTreeBuilder(bool addPreamble, LogBase& log) : m_addPreamble(addPreamble), m_log(log) {}
    XmlTreeBuilder(const XmlTreeBuilder&) = delete;
    XmlTreeBuilder& operator=(const XmlTreeBuilder&) = delete;

    MimeMessage2* build(TreeNode& element) {
        open(element);
        MimeMessage2* finished = nullptr;
        while (m_open) {
            if (TreeNode* part = nextPart()) {
                open(*part);
                continue;
            }
            finished = finish();
            const unsigned signatures = m_open->signatures;
            close();
            if (!m_open || !finished) continue;
            if (signatures > m_open->signatures) m_open->signatures = signatures;
            if (!m_open->parts.appendPtr(finished)) VantrelObject::deleteObject(finished);
            finished = nullptr;
        }
        return finished;
    }

private:
    struct Open {
        Open* outer = nullptr;
        TreeNode* body = nullptr;
        int next = 0;
        unsigned signatures = 0;  // nested in each other, here and below
        StringBuffer headerText;
        ExtPtrArray parts;
    };

    // An element without header or body is no message.
    void open(TreeNode& element) {
        TreeNode* const header = element.getChild("header", nullptr);
        TreeNode* const body = element.getChild("body", nullptr);
        Open* const made = header && body ? notingRefusal(new (std::nothrow) Open) : nullptr;
        m_log.enterContext("createMimeFromTree", m_log.m_verbose);
        if (!made) return m_log.leaveContext();
        made->outer = m_open;
        made->body = body;
        m_open = made;
        MimeMessage2::buildHeaderFromXml(*header, made->headerText, m_log);
        m_log.enterContext("buildBodyFromXml", m_log.m_verbose);
    }

    void close() {
        Open* const done = m_open;
        m_open = done->outer;
        delete done;
        m_log.leaveContext();
    }

    TreeNode* nextPart() {
        while (TreeNode* child = m_open->body->getChild(m_open->next)) {
            ++m_open->next;
            if (!hasTag(*child, "subpart")) continue;
            if (TreeNode* message = child->getChild(0)) return message;
        }
        return nullptr;
    }

    MimeMessage2* finish();
    void keepSigned(MimeMessage2& node);

    const bool m_addPreamble;
    LogBase& m_log;
    Open* m_open = nullptr;
};

MimeMessage2* XmlTreeBuilder::finish() {
    StringBuffer text;
    appendBodyText(*m_open->body, text);
    m_log.leaveContext();
    if (text.isEmpty() && m_open->parts.getSize() > 0 && m_addPreamble)
        text.setString("This is a multi-part message in MIME format.");
    MimeMessage2* const node = MimeMessage2::createNewObject();
    if (!node) return nullptr;
    node->loadPieces(m_open->headerText.getString(), m_open->headerText.getSize(),
                     reinterpret_cast<const unsigned char*>(text.getString()), text.getSize(),
                     m_open->parts, /*inputIsUtf8*/ true, m_log);
    node->m_mimeHeader.writeAnew();
    node->noteReceived(hasAttribute(*m_open->body, kXmlBytes, kXmlAsReceived)
                           ? MimeMessage2::Stored::NoText
                           : MimeMessage2::Stored::Converted);
    keepSigned(*node);
    return node;
}

// A multipart/signed is written with the kept bytes of its first part, which XML has not got.
// Limit: each level of signatures in signatures keeps the bytes of all below once more.
void XmlTreeBuilder::keepSigned(MimeMessage2& node) {
    constexpr unsigned kMaxSignatures = 16;
    MimeMessage2* const content = node.getPart(0);
    LogNull silent;
    if (!content || !node.isMultipartSigned(silent)) return;
    if (++m_open->signatures <= kMaxSignatures)
        content->getMimeTextDb(content->m_signedData, /*bodyOnly*/ false, silent);
    else m_log.logError("Signatures nest too deep, what they sign is left out.");
}

MimeMessage2* MimeMessage2::createMimeFromTree(TreeNode& mimeElement, bool addPreamble,
                                               LogBase& log) {
    const MemoryWatch memory;
    MimeMessage2* const made = XmlTreeBuilder(addPreamble, log).build(mimeElement);
    if (!memory.wasRefused()) return made;
    log.logError("Out of memory.");
    deleteObject(made);
    return nullptr;
}

// -- Header

namespace {

// RFC 5322 2.2.3: a line break with a blank and text behind it folds a line.
// Limit: every other line break becomes a blank, so that nothing in a document starts a line.
void appendFolded(const StringBuffer& text, StringBuffer& out) {
    const char* p = text.getString();
    const char* const end = p + text.getSize();
    while (p != end) {
        const char* stop = p;
        while (stop != end && *stop != '\r' && *stop != '\n') ++stop;
        out.appendN(p, static_cast<unsigned>(stop - p));
        if (stop == end) return;
        p = stop + (end - stop > 1 && stop[0] == '\r' && stop[1] == '\n' ? 2 : 1);
        const char* word = p;
        while (word != end && bytes::isBlank(*word)) ++word;
        if (p[-1] == '\r' || word == p || word == end || *word == '\r' || *word == '\n')
            out.appendChar(' ');
        else out.appendN(stop, static_cast<unsigned>(p - stop));
    }
}

void trimFront(StringBuffer& text) {
    unsigned n = 0;
    while (n < text.getSize() && bytes::isSpace(text.getString()[n])) ++n;
    text.removeFront(n);
}

// The name that a tag spells; empty for a line that has none.
// Limit: a tag that spells what no name can hold, such as a line break, is the name itself,
// and what it holds of the kind is spelled.
void appendFieldName(const char* tag, StringBuffer& name) {
    const auto isNameByte = [](char c) { return kFieldNameBytes.has(c); };
    const unsigned size = static_cast<unsigned>(std::strlen(tag));
    ClsXml::bytesFromXmlName(tag, size, name);
    if (std::all_of(name.getString(), name.getString() + name.getSize(), isNameByte)) return;
    name.weakClear();
    for (const char* p = tag; *p; ++p) {
        if (isNameByte(*p)) name.appendChar(*p);
        else xml::appendSpelledByte(*p, name);
    }
}

// A line that has no name must not get one: where it could be read as a field, it is folded in
// front of its colon.  Blanks at its start, which would make it part of the field in front of
// it, are kept where there is none; a byte order mark there would be no part of it.
void appendNameless(StringBuffer& line, bool keepBlanks, StringBuffer& headerText) {
    const char* const text = line.getString();
    unsigned front = 0;
    for (unsigned step = 1; step; front += step)
        step = zqStrNCmp(text + front, "\xEF\xBB\xBF", 3) == 0             ? 3
               : !keepBlanks && text[front] && bytes::isSpace(text[front]) ? 1
                                                                           : 0;
    line.removeFront(front);
    if (line.isEmpty()) return;
    const unsigned name = fieldNameSize(line.getString(), line.getSize());
    headerText.appendN(line.getString(), name);
    if (name > 0) headerText.append(line.getString()[name] == ':' ? "\n " : "\n");
    headerText.appendN(line.getString() + name, line.getSize() - name);
    headerText.appendChar('\n');
}

void appendParams(const TreeNode& field, StringBuffer& line) {
    StringBuffer name, value;
    for (int i = 0; i < field.getNumAttributes(); ++i) {
        name.weakClear();
        value.weakClear();
        field.getAttributeName(i, name);
        field.getAttributeValue(i, value);
        name.replaceAllWithUchar(kXmlAsterisk, '*');
        if (name.isEmpty() || value.isEmpty()) continue;
        line.append3("; ", name.getString(), "=\"");
        appendFolded(value, line);
        line.appendChar('"');
    }
}

// The content of a tag that is spelled is taken as it stands.
void appendField(const TreeNode& field, bool keepBlanks, StringBuffer& headerText) {
    StringBuffer line, content;
    appendFieldName(field.getTag(), line);
    field.copyDecodeContent(content);
    if (line.isEmpty()) {
        appendFolded(content, line);
        return appendNameless(line, keepBlanks, headerText);
    }
    if (line.equals(field.getTag()) && content.containsSubstringNoCase("?8bit?"))
        decode8bitWords(content);
    line.append(": ");
    appendFolded(content, line);
    line.trim2();
    appendParams(field, line);
    headerText.append(line);
    headerText.appendChar('\n');
}

}  // namespace

// A field that is no address field takes the white space away that the text begins with.
bool MimeMessage2::buildHeaderFromXml(TreeNode& header, StringBuffer& headerText, LogBase& log) {
    OperationContext context(log, "buildHeaderFromXml");
    bool isTrimmed = false;
    for (int i = 0; TreeNode* field = header.getChild(i); ++i) {
        if (isXmlAddressField(field->getTag())) {
            buildAddressesFromXml(*field, headerText, /*reserved*/ false, log);
            continue;
        }
        if (!isTrimmed) trimFront(headerText);
        isTrimmed = true;
        appendField(*field, /*keepBlanks*/ headerText.isEmpty(), headerText);
    }
    return true;
}

bool MimeMessage2::addNodeToHeader(TreeNode& field, StringBuffer& headerText, LogBase& log) {
    if (isXmlAddressField(field.getTag())) {
        buildAddressesFromXml(field, headerText, /*reserved*/ false, log);
        return true;
    }
    trimFront(headerText);
    appendField(field, /*keepBlanks*/ false, headerText);
    return true;
}

// An entry counts only with both its children, even when one is empty.
void MimeMessage2::buildAddressesFromXml(TreeNode& field, StringBuffer& headerText, bool,
                                         LogBase&) {
    headerText.append3(field.getTag(), ": ", "");
    bool isFirst = true;
    for (int i = 0; TreeNode* entry = field.getChild(i); ++i) {
        const TreeNode* const addr = entry->getChild("addr", nullptr);
        const TreeNode* const name = entry->getChild("name", nullptr);
        if (!addr || !name) continue;
        if (!isFirst) headerText.append(",\n\t");
        isFirst = false;
        StringBuffer text, address;
        name->copyDecodeContent(text);
        text.trim2();
        if (!text.isEmpty()) {
            if (text.containsSubstring("?8bit?")) decode8bitWords(text);
            headerText.appendChar('"');
            appendFolded(text, headerText);
            headerText.append("\" ");
        }
        headerText.appendChar('<');
        addr->copyDecodeContent(address);
        appendFolded(address, headerText);
        headerText.appendChar('>');
    }
    headerText.appendChar('\n');
}

// -- Body

bool MimeMessage2::buildBodyFromXml(TreeNode& body, StringBuffer& bodyText, ExtPtrArray& parts,
                                    bool addPreamble, LogBase& log) {
    OperationContext context(log, "buildBodyFromXml");
    appendBodyText(body, bodyText);
    for (int i = 0; TreeNode* child = body.getChild(i); ++i) {
        if (!hasTag(*child, "subpart")) continue;
        TreeNode* message = child->getChild(0);
        MimeMessage2* made = message ? createMimeFromTree(*message, addPreamble, log) : nullptr;
        if (made && !parts.appendPtr(made)) deleteObject(made);
    }
    return true;
}
