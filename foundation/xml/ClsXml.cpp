// SPDX-License-Identifier: Apache-2.0

// The document behind ClsXml handles: elements linked to their parent, their first child and
// their next sibling, so that printing and destroying walk a document of any depth without a
// stack.  mime/xml/xml_out.cpp and MimeHeader build with it; TreeNode reads what it prints.

#include "foundation/ClsXml.h"

#include <cstring>
#include <new>

#include "foundation/LogBase.h"
#include "foundation/StringBuffer.h"
#include "foundation/bytes/MemoryWatch.h"
#include "foundation/bytes/ranges.h"
#include "foundation/xml/names.h"
#include "foundation/xml/output.h"
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
    bool breaksLines() const { return isStarted ? breaks : firstChild && content.isEmpty(); }

    XmlElement* parent = nullptr;
    XmlElement* firstChild = nullptr;
    XmlElement* lastChild = nullptr;
    XmlElement* next = nullptr;  // sibling
    XmlAttributes* attributes = nullptr;
    StringBuffer tag;
    StringBuffer content;
    bool isCdata = false;
    bool isStarted = false;  // printed as far as its children
    bool breaks = false;     // of what is started: whether a line break stands behind children
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
static void destroyAll(XmlElement* first) {
    for (XmlElement* todo = first; todo;) {
        XmlElement* const element = todo;
        todo = element->next;
        if (element->firstChild) {
            element->lastChild->next = todo;
            todo = element->firstChild;
        }
        delete element;
    }
}

XmlTree::~XmlTree() { destroyAll(root); }

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

// Where a text can be cut without a trace: in front of a CR, which stands by itself in any form.
static size_t cutOf(const char* p, size_t n) {
    const void* const cr = n > XmlOutput::kPiece
                               ? std::memchr(p + XmlOutput::kPiece, '\r', n - XmlOutput::kPiece)
                               : nullptr;
    return cr ? static_cast<size_t>(static_cast<const char*>(cr) - p) : n;
}

static bool appendContent(const XmlElement& element, XmlOutput& out) {
    const auto append = element.isCdata ? xml::appendCdata : xml::appendText;
    const char* p = element.content.getString();
    for (size_t left = element.content.getSize(); left > 0;) {
        const size_t n = out.take ? cutOf(p, left) : left;
        if (!append(p, n, out.text) || !out.pass()) return false;
        p += n;
        left -= n;
    }
    return true;
}

static bool appendStart(const XmlElement& element, XmlOutput& out) {
    StringBuffer& text = out.text;
    if (!text.appendChar('<') || !text.append(element.tag)) return false;
    if (element.attributes && !text.append(element.attributes->text)) return false;
    if (element.isEmpty()) return text.append("/>");
    if (!text.appendChar('>') || !appendContent(element, out)) return false;
    return !element.breaksLines() || text.appendChar('\n');
}

static bool appendEnd(const XmlElement& element, XmlOutput& out) {
    StringBuffer& text = out.text;
    if ((element.isStarted || !element.isEmpty()) &&
        (!text.append("</") || !text.append(element.tag) || !text.appendChar('>')))
        return false;
    const bool isOnALine = !element.parent || element.parent->breaksLines();
    return (!isOnALine || text.appendChar('\n')) && out.pass();
}

static bool appendTree(const XmlElement* top, XmlOutput& out) {
    for (const XmlElement* element = top;; element = element->next) {
        if (!appendStart(*element, out)) return false;
        while (element->firstChild) {
            element = element->firstChild;
            if (!appendStart(*element, out)) return false;
        }
        for (;; element = element->parent) {
            if (!appendEnd(*element, out)) return false;
            if (element == top) return true;
            if (element->next) break;
        }
    }
}

// What is not printed yet of an element and the elements in it.  Of those none is started: the
// last one is whole by now.
static bool appendRest(const XmlElement& element, XmlOutput& out) {
    if (!element.isStarted) return appendTree(&element, out);
    for (const XmlElement* child = element.firstChild; child; child = child->next)
        if (!appendTree(child, out)) return false;
    return appendEnd(element, out);
}

// Prints and drops the children in front of `stop`, or all.
static bool appendChildren(XmlElement& parent, const XmlElement* stop, XmlOutput& out) {
    while (parent.firstChild != stop) {
        XmlElement* const child = parent.firstChild;
        if (!appendRest(*child, out)) return false;
        parent.firstChild = child->next;
        child->next = nullptr;
        destroyAll(child);
    }
    if (!parent.firstChild) parent.lastChild = nullptr;
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

void ClsXml::takeContent(StringBuffer& content) { m_element->content.swap(content); }

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

static bool appendDeclaration(StringBuffer& out) {
    return out.append("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n");
}

bool ClsXml::getXml(bool, StringBuffer& out, LogBase& log) const {
    const unsigned before = out.getSize();
    XmlOutput output(out);
    if (appendDeclaration(out) && appendTree(m_tree->root, output)) return true;
    out.shorten(out.getSize() - before);
    log.logError("No memory for the XML text.");
    return false;
}

bool ClsXml::printFront(XmlOutput& out) {
    XmlElement& element = *m_element;
    if (!element.isStarted) {
        if (!element.parent && !appendDeclaration(out.text)) return false;
        if (!appendStart(element, out)) return false;
        element.breaks = element.breaksLines();
        element.isStarted = true;
        element.content.clear();
    }
    return appendChildren(element, element.lastChild, out);
}

// What stood in front of the element was dropped when it was printed.
bool ClsXml::printEnd(XmlOutput& out) {
    XmlElement* const element = m_element;
    XmlElement* const parent = element->parent;
    const bool isFirst = !parent && !element->isStarted;
    if ((isFirst && !appendDeclaration(out.text)) || !appendRest(*element, out)) return false;
    if (!parent) return out.passAll();
    parent->firstChild = parent->lastChild = nullptr;
    destroyAll(element);
    m_element = parent;
    return true;
}
