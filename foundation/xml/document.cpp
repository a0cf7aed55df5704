// SPDX-License-Identifier: Apache-2.0

// What a parsed XML document owns: its text, brought to UTF-8, and the lists of elements and
// attributes that point into it.  reader.cpp fills them; TreeNode looks into them.

#include "foundation/xml/document.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "foundation/EncodingConvert.h"
#include "foundation/LogBase.h"
#include "foundation/LogNull.h"
#include "foundation/bytes/MemoryWatch.h"

namespace mimetree::inner {

XmlDocument::~XmlDocument() { std::free(static_cast<void*>(m_elements)); }

size_t XmlDocument::heapUsage() const {
    return m_text.getSize() + m_numElements * (sizeof(TreeNode) + sizeof(unsigned)) +
           m_attributes.size() * sizeof(XmlAttribute);
}

XmlDocument* XmlDocument::read(const StringBuffer& xml, LogBase* log) {
    XmlDocument* const document = notingRefusal(new (std::nothrow) XmlDocument);
    if (document && document->takeText(xml)) {
        if (document->parse(log)) return document;
    } else if (log) {
        log->logError("No memory to read the XML.");
    }
    delete document;
    return nullptr;
}

// How many bytes of UTF-16 there are before a surrogate without its partner, or half a unit.
static unsigned utf16Run(const unsigned char* p, unsigned n, bool isBigEndian) {
    const unsigned highByte = isBigEndian ? 0 : 1;
    const auto isSurrogate = [&](unsigned at, unsigned kind) {
        return n - at >= 2 && (p[at + highByte] & 0xFCu) == kind;
    };
    unsigned run = 0;
    while (n - run >= 2) {
        const bool isPair = isSurrogate(run, 0xD8) && isSurrogate(run + 2, 0xDC);
        if (!isPair && (p[run + highByte] & 0xF8u) == 0xD8u) break;
        run += isPair ? 4 : 2;
    }
    return run;
}

// What follows the first fault is not converted; a byte that is not UTF-8 in its place has
// the check of the characters report it.
bool XmlDocument::takeUtf16(const unsigned char* p, unsigned n, bool isBigEndian) {
    LogNull log;
    const unsigned run = utf16Run(p, n, isBigEndian);
    const int codePage = isBigEndian ? 1201 : 1200;
    if (!EncodingConvert::EncConvert(codePage, 65001, p, run, m_text, log)) return false;
    if (run < n && !m_text.appendChar(0xFF)) return false;
    m_text.shrinkToFit();
    return true;
}

bool XmlDocument::takeText(const StringBuffer& xml) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(xml.getString());
    unsigned n = xml.getSize();
    if (xml.beginsWith("\xFF\xFE")) return takeUtf16(p + 2, n - 2, false);
    if (xml.beginsWith("\xFE\xFF")) return takeUtf16(p + 2, n - 2, true);
    if (xml.beginsWith("\xEF\xBB\xBF")) {
        p += 3;
        n -= 3;
    }
    return m_text.reserve(n) && m_text.append(p, n);
}

bool XmlDocument::resizeElements(unsigned n) {
    void* const block =
        notingRefusal(std::realloc(static_cast<void*>(m_elements), n * sizeof(TreeNode)));
    if (!block) return false;
    m_elements = static_cast<TreeNode*>(block);
    m_capacity = n;
    return true;
}

// Elements may move as long as the document is being read: nobody has seen them yet.
TreeNode* XmlDocument::addElement() {
    if (m_numElements == m_capacity && !resizeElements(m_capacity + m_capacity / 2 + 16))
        return nullptr;
    TreeNode* const element = new (m_elements + m_numElements++) TreeNode();
    element->m_document = this;
    element->m_attributes = m_attributes.size();
    return element;
}

TreeNode* XmlDocument::childOf(const TreeNode& parent, unsigned i) {
    return element(m_children[parent.m_children + i]);
}

const XmlAttribute& XmlDocument::attributeOf(const TreeNode& element, unsigned i) const {
    return m_attributes[element.m_attributes + i];
}

bool XmlDocument::listChildren() {
    if (!m_children.reserve(m_numElements)) return false;
    for (unsigned i = 0; i < m_numElements; ++i) {
        TreeNode& parent = m_elements[i];
        parent.m_children = m_children.size();
        for (unsigned j = i + 1; j < parent.m_pastDescendants; j = m_elements[j].m_pastDescendants)
            if (!m_children.push(j)) return false;
        parent.m_numChildren = m_children.size() - parent.m_children;
    }
    return true;
}

// Only now, since a fault is located in the text as it was.
void XmlDocument::terminateTags() {
    char* const text = reinterpret_cast<char*>(m_text.getData2_rw());
    for (unsigned i = 0; i < m_numElements; ++i) {
        char* const tag = text + m_elements[i].m_tag;
        tag[std::strcspn(tag, " \t\r\n/>")] = '\0';
    }
}

bool XmlDocument::finish() {
    if (!resizeElements(m_numElements) || !listChildren()) return false;
    terminateTags();
    return true;
}

}  // namespace mimetree::inner
