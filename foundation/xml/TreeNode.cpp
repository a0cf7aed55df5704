// SPDX-License-Identifier: Apache-2.0

// Looking into a parsed XML document: children, search, and the decoding of content and
// attributes from the text that the reader has checked.  mime/xml/xml_in.cpp calls this.

#include "foundation/TreeNode.h"

#include <cstring>

#include "foundation/bytes/bytes.h"
#include "foundation/xml/document.h"
#include "foundation/xml/text.h"
#include "foundation/zqStrings.h"

using namespace mimetree::inner;

TreeNode* TreeNode::customParseString(const StringBuffer& xml, LogBase* log, bool, bool, bool) {
    XmlDocument* const document = XmlDocument::read(xml, log);
    return document ? document->element(0) : nullptr;
}

VantrelObject* TreeNode::getDocument() const { return m_document; }

const char* TreeNode::getTag() const { return m_document->text() + m_tag; }

int TreeNode::getNumChildren() const { return static_cast<int>(m_numChildren); }

TreeNode* TreeNode::getChild(int i) const {
    if (i < 0 || i >= getNumChildren()) return nullptr;
    return m_document->childOf(*this, static_cast<unsigned>(i));
}

TreeNode* TreeNode::getChild(const char* tag, StringPair* attribute) const {
    for (unsigned i = 0; i < m_numChildren; ++i) {
        TreeNode* const child = m_document->childOf(*this, i);
        if (zqStrCmp(child->getTag(), tag) != 0) continue;
        if (!attribute || child->hasAttribute(*attribute)) return child;
    }
    return nullptr;
}

TreeNode* TreeNode::searchForTag(TreeNode* after, const char* tag) const {
    if (after && after->m_document != m_document) return nullptr;
    const TreeNode* const before = after && after > this ? after : this;
    for (unsigned i = m_document->indexOf(before) + 1; i < m_pastDescendants; ++i)
        if (zqStrCmp(m_document->element(i)->getTag(), tag) == 0) return m_document->element(i);
    return nullptr;
}

// -- Attributes

int TreeNode::getNumAttributes() const { return static_cast<int>(m_numAttributes); }

bool TreeNode::getAttributeName(int i, StringBuffer& out) const {
    if (i < 0 || i >= getNumAttributes()) return false;
    const XmlSlice name = m_document->attributeOf(*this, static_cast<unsigned>(i)).name;
    return out.appendN(m_document->text() + name.at, name.size);
}

bool TreeNode::getAttributeValue(int i, StringBuffer& out) const {
    if (i < 0 || i >= getNumAttributes()) return false;
    const XmlSlice value = m_document->attributeOf(*this, static_cast<unsigned>(i)).value;
    const unsigned before = out.getSize();
    if (xml::decodeAttributeValue(m_document->text() + value.at, value.size, out)) return true;
    out.shorten(out.getSize() - before);
    return false;
}

bool TreeNode::hasAttribute(const StringPair& attribute) const {
    StringBuffer name, value;
    for (int i = 0; i < getNumAttributes(); ++i) {
        name.weakClear();
        if (!getAttributeName(i, name) || !name.equals(attribute.m_name)) continue;
        return getAttributeValue(i, value) && value.equals(attribute.m_value);
    }
    return false;
}

// -- Content

static bool beginsWith(const char* p, const char* end, const char* prefix) {
    const size_t n = std::strlen(prefix);
    return static_cast<size_t>(end - p) >= n && std::memcmp(p, prefix, n) == 0;
}

// Appends the content, if any, of the markup at `mark` and gives what follows the markup;
// null when memory is exhausted.  `child` is the child element that comes next.
const char* TreeNode::skipMarkup(const char* mark, const TreeNode*& child,
                                 StringBuffer& out) const {
    const char* const text = m_document->text();
    const char* const end = text + m_contentEnd;
    const auto find = [end](const char* p, const char* what) {
        return bytes::find(p, static_cast<size_t>(end - p), what, std::strlen(what));
    };
    if (beginsWith(mark, end, "<!--")) return find(mark + 4, "-->") + 3;
    if (beginsWith(mark, end, "<![CDATA[")) {
        const char* const p = mark + 9;
        const char* const close = find(p, "]]>");
        return xml::decodeCdata(p, static_cast<size_t>(close - p), out) ? close + 3 : nullptr;
    }
    if (beginsWith(mark, end, "<?")) {
        const char* const p = mark + 2;
        const char* const close = find(p, "?>");
        return xml::decodeInstruction(p, static_cast<size_t>(close - p), out) ? close + 2 : nullptr;
    }
    const char* const childEnd = text + child->m_contentEnd;
    child = m_document->element(child->m_pastDescendants);
    return find(childEnd, ">") + 1;
}

bool TreeNode::copyDecodeContent(StringBuffer& out) const {
    const unsigned before = out.getSize();
    const char* const end = m_document->text() + m_contentEnd;
    const TreeNode* child = this + 1;
    for (const char* p = m_document->text() + m_content; p;) {
        const size_t left = static_cast<size_t>(end - p);
        const void* const mark = std::memchr(p, '<', left);
        const char* const stop = mark ? static_cast<const char*>(mark) : end;
        if (!xml::decodeText(p, static_cast<size_t>(stop - p), out)) break;
        if (stop == end) return true;
        p = skipMarkup(stop, child, out);
    }
    out.shorten(out.getSize() - before);
    return false;
}
