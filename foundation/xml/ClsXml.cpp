// SPDX-License-Identifier: Apache-2.0

// The document behind ClsXml handles: elements linked to their parent, their first child and
// their next sibling, so that printing and destroying walk a document of any depth without a
// stack.  mime/xml/xml_out.cpp and MimeHeader build with it; TreeNode reads what it prints.

#include "foundation/ClsXml.h"

#include <cstring>
#include <new>

#include "foundation/LogBase.h"
#include "foundation/bytes/MemoryWatch.h"
#include "foundation/StringBuffer.h"
#include "foundation/bytes/ranges.h"
#include "foundation/xml/names.h"
#include "foundation/xml/text.h"

using namespace mimetree::inner;

namespace {

struct XmlAttributes {
    StringBuffer text;  // as printed: ' name="value"' for each
    XmlNameSet names;   // pieces of the text
};

}  // namespace

struct mimetree::inner::XmlElement {
    XmlElement() = default;
    XmlElement(const XmlElement&) = delete;
    XmlElement& operator=(const XmlElement&) = delete;
    ~XmlElement() { delete attributes; }

    bool isEmpty() const { return !firstChild && content.isEmpty(); }

    XmlElement* parent = nullptr;
    XmlElement* firstChild = nullptr;
    XmlElement* lastChild = nullptr;
    XmlElement* next = nullptr;  // sibling
    XmlAttributes* attributes = nullptr;
    StringBuffer tag;
    StringBuffer content;
    bool isCdata = false;
};

struct mimetree::inner::XmlTree {
    XmlTree() = default;
    XmlTree(const XmlTree&) = delete;
    XmlTree& operator=(const XmlTree&) = delete;
    ~XmlTree();

    XmlElement* root = nullptr;
    unsigned handles = 0;
};

// Each element's children are put before its siblings, so the list to do needs no memory.
XmlTree::~XmlTree() {
    for (XmlElement* todo = root; todo;) {
        XmlElement* const element = todo;
        todo = element->next;
        if (element->firstChild) {
            element->lastChild->next = todo;
            todo = element->firstChild;
        }
        delete element;
    }
}

// Gives `tag` the name, spelled if need be.  False when memory is exhausted.
static bool setName(const char* name, StringBuffer& tag) {
    const unsigned size = sizeOf(name);
    if (size && xml::nameRun(name, size) == size) return tag.setStringN(name, size);
    StringBuffer spelled;
    ClsXml::xmlNameFromBytes(name, size, spelled);
    if (spelled.failed()) return false;
    tag.swap(spelled);
    return true;
}

static XmlElement* createElement(const char* tag, const char* content) {
    XmlElement* const element = notingRefusal(new (std::nothrow) XmlElement);
    if (!element) return nullptr;
    if (setName(tag, element->tag) && element->content.setString(content)) return element;
    delete element;
    return nullptr;
}

static void appendChild(XmlElement& parent, XmlElement* child) {
    child->parent = &parent;
    (parent.lastChild ? parent.lastChild->next : parent.firstChild) = child;
    parent.lastChild = child;
}

// -- Printing

static bool breaksLines(const XmlElement& element) {
    return element.firstChild && element.content.isEmpty();
}

static bool appendContent(const XmlElement& element, StringBuffer& out) {
    const auto append = element.isCdata ? xml::appendCdata : xml::appendText;
    return append(element.content.getString(), element.content.getSize(), out);
}

static bool appendStart(const XmlElement& element, StringBuffer& out) {
    if (!out.appendChar('<') || !out.append(element.tag)) return false;
    if (element.attributes && !out.append(element.attributes->text)) return false;
    if (element.isEmpty()) return out.append("/>");
    if (!out.appendChar('>') || !appendContent(element, out)) return false;
    return !breaksLines(element) || out.appendChar('\n');
}

static bool appendEnd(const XmlElement& element, StringBuffer& out) {
    if (!element.isEmpty() &&
        (!out.append("</") || !out.append(element.tag) || !out.appendChar('>')))
        return false;
    return (element.parent && !breaksLines(*element.parent)) || out.appendChar('\n');
}

static bool appendTree(const XmlElement* element, StringBuffer& out) {
    while (element) {
        if (!appendStart(*element, out)) return false;
        if (element->firstChild) {
            element = element->firstChild;
            continue;
        }
        for (; element; element = element->parent) {
            if (!appendEnd(*element, out)) return false;
            if (element->next) break;
        }
        if (element) element = element->next;
    }
    return true;
}

// -- The handle

ClsXml::ClsXml(XmlTree* tree, XmlElement* element) : m_tree(tree), m_element(element) {
    ++tree->handles;
}

ClsXml::~ClsXml() {
    if (--m_tree->handles == 0) delete m_tree;
}

ClsXml* ClsXml::createNewCls() {
    XmlTree* const tree = notingRefusal(new (std::nothrow) XmlTree);
    if (!tree) return nullptr;
    tree->root = createElement("unnamed", nullptr);
    ClsXml* const handle =
        tree->root ? notingRefusal(new (std::nothrow) ClsXml(tree, tree->root)) : nullptr;
    if (!handle) delete tree;
    return handle;
}

ClsXml* ClsXml::newChild(const char* tag, const char* content, LogBase* log) {
    XmlElement* const child = createElement(tag, content);
    ClsXml* const handle =
        child ? notingRefusal(new (std::nothrow) ClsXml(m_tree, child)) : nullptr;
    if (handle) {
        appendChild(*m_element, child);
        return handle;
    }
    delete child;
    if (log) log->logError("No memory for an XML element.");
    return nullptr;
}

void ClsXml::put_TagUtf8(const char* tag) { setName(tag, m_element->tag); }

void ClsXml::put_Cdata(bool cdata) { m_element->isCdata = cdata; }

void ClsXml::put_ContentUtf8(const char* content) { m_element->content.setString(content); }

bool ClsXml::setContent(const char* content, unsigned n) {
    return m_element->content.setStringN(content, n);
}

bool ClsXml::addAttributeUtf8(const char* name, const char* value) {
    return addAttribute(name, value, sizeOf(value));
}

bool ClsXml::addAttribute(const char* name, const char* value, unsigned valueSize) {
    if (!m_element->attributes)
        m_element->attributes = notingRefusal(new (std::nothrow) XmlAttributes);
    XmlAttributes* const attributes = m_element->attributes;
    StringBuffer spelled;
    if (!attributes || !setName(name, spelled)) return false;

    StringBuffer& text = attributes->text;
    const unsigned before = text.getSize();
    const XmlSlice added = {before + 1, spelled.getSize()};
    if (text.appendChar(' ') && text.append(spelled) &&
        !attributes->names.has(text.getString(), added) && text.append("=\"") &&
        xml::appendAttributeValue(value, valueSize, text) && text.appendChar('"') &&
        attributes->names.insert(text.getString(), added))
        return true;
    text.shorten(text.getSize() - before);
    return false;
}

bool ClsXml::getXml(bool, StringBuffer& out, LogBase& log) const {
    const unsigned before = out.getSize();
    if (out.append("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n") && appendTree(m_tree->root, out))
        return true;
    out.shorten(out.getSize() - before);
    log.logError("No memory for the XML text.");
    return false;
}
