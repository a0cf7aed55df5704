// SPDX-License-Identifier: Apache-2.0

// Trees from the XML that xml_out.cpp writes: header text and body bytes are put together from
// the elements and loaded by load.cpp, so that all rules of parsing apply.

#include <new>

#include "foundation/ClsXml.h"
#include "foundation/ContentCoding.h"
#include "foundation/bytes/GrowArray.h"
#include "foundation/bytes/MemoryWatch.h"
#include "foundation/TreeNode.h"
#include "foundation/header/header_fields.h"
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
    const ParsedXml document(xml, log);
    if (!document.root()) return false;
    findMimeAndCreate(*document.root(), tag ? tag : kMessageTag, out, addPreamble, log);
    return true;
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
    ~XmlTreeBuilder() {
        while (m_open) close();
    }

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
        if (!made) return;
        m_log.enterContext("createMimeFromTree", m_log.m_verbose);
        made->outer = m_open;
        made->body = body;
        m_open = made;
        MimeMessage2::buildHeaderFromXml(*header, made->headerText, m_log);
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
    if (m_open->body->getNumChildren() == 0) m_open->body->copyDecodeContent(text);
    if (text.isEmpty() && m_open->parts.getSize() > 0 && m_addPreamble)
        text.setString("This is a multi-part message in MIME format.");
    MimeMessage2* const node = MimeMessage2::createNewObject();
    if (!node) return nullptr;
    node->loadPieces(m_open->headerText.getString(), m_open->headerText.getSize(),
                     reinterpret_cast<const unsigned char*>(text.getString()), text.getSize(),
                     m_open->parts, /*inputIsUtf8*/ true, m_log);
    node->m_mimeHeader.foldLongFields();
    // The bytes of an attachment stand as they came, in no charset: as when it was parsed.
    if (node->isAttachment(m_log)) node->m_charset.clear();
    keepSigned(*node);
    return node;
}

// A multipart/signed is written with the kept bytes of its first part, which XML has not got.
// Limit: each level of signatures in signatures keeps the bytes of all below once more.
void XmlTreeBuilder::keepSigned(MimeMessage2& node) {
    constexpr unsigned kMaxSignatures = 16;
    MimeMessage2* const content = node.getPart(0);
    if (!content || !node.isMultipartSigned(m_log)) return;
    if (++m_open->signatures <= kMaxSignatures)
        content->getMimeTextDb(content->m_signedData, /*bodyOnly*/ false, m_log);
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

// "name: ", or nothing for the tag of a line that has no name.
void appendFieldName(const TreeNode& field, StringBuffer& line) {
    StringBuffer tag;
    tag.setString(field.getTag());
    const unsigned before = line.getSize();
    ClsXml::bytesFromXmlName(tag.getString(), tag.getSize(), line);
    if (line.getSize() > before) line.append(": ");
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
        line.append(value);
        line.appendChar('"');
    }
}

void appendField(const TreeNode& field, StringBuffer& headerText) {
    StringBuffer line, content;
    appendFieldName(field, line);
    const bool hasName = !line.isEmpty();
    field.copyDecodeContent(content);
    if (content.containsSubstringNoCase("?8bit?")) decode8bitWords(content);
    line.append(content);
    line.trim2();
    appendParams(field, line);
    // In front of all fields, a line without name begins with a blank, which alone keeps
    // "From: x" from being a field.
    if (!hasName && headerText.isEmpty()) headerText.appendChar(' ');
    headerText.append(line);
    headerText.appendChar('\n');
}

}  // namespace

bool MimeMessage2::buildHeaderFromXml(TreeNode& header, StringBuffer& headerText, LogBase& log) {
    OperationContext context(log, "buildHeaderFromXml");
    for (int i = 0; TreeNode* field = header.getChild(i); ++i) {
        if (isXmlAddressField(field->getTag()))
            buildAddressesFromXml(*field, headerText, /*reserved*/ false, log);
        else appendField(*field, headerText);
    }
    return true;
}

// The header text loses the white space that it begins with, too.
bool MimeMessage2::addNodeToHeader(TreeNode& field, StringBuffer& headerText, LogBase& log) {
    if (isXmlAddressField(field.getTag())) {
        buildAddressesFromXml(field, headerText, /*reserved*/ false, log);
        return true;
    }
    appendField(field, headerText);
    headerText.trim2();
    headerText.appendChar('\n');
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
        StringBuffer text;
        name->copyDecodeContent(text);
        text.trim2();
        if (text.containsSubstring("?8bit?")) decode8bitWords(text);
        if (!text.isEmpty()) {
            headerText.appendChar('"');
            headerText.append(text);
            headerText.append("\" ");
        }
        headerText.appendChar('<');
        addr->copyDecodeContent(headerText);
        headerText.appendChar('>');
    }
    headerText.appendChar('\n');
}

// -- Body

// Kept on purpose: beside parts, text is not read.
bool MimeMessage2::buildBodyFromXml(TreeNode& body, StringBuffer& bodyText, ExtPtrArray& parts,
                                    bool addPreamble, LogBase& log) {
    OperationContext context(log, "buildBodyFromXml");
    if (body.getNumChildren() == 0) body.copyDecodeContent(bodyText);
    for (int i = 0; TreeNode* child = body.getChild(i); ++i) {
        if (!hasTag(*child, "subpart")) continue;
        TreeNode* message = child->getChild(0);
        MimeMessage2* made = message ? createMimeFromTree(*message, addPreamble, log) : nullptr;
        if (made && !parts.appendPtr(made)) deleteObject(made);
    }
    return true;
}
