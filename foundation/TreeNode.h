// SPDX-License-Identifier: Apache-2.0
#pragma once

// Reads XML into a tree of elements.
//
//   TreeNode* root = TreeNode::customParseString(xml, &log, true, false, false);
//   if (root) VantrelObject::deleteObject(root->getDocument());
//
// A node is one element and lives as long as its document, which owns the whole tree: one
// copy of the text, 44 bytes an element that point into it, 16 bytes an attribute.  Text and
// attribute values are decoded when they are asked for.
//
// Getters append, and leave `out` alone when they answer false.

#include "foundation/StringBuffer.h"
#include "foundation/export.h"

class LogBase;

namespace mimetree::inner {
class XmlDocument;
class XmlReader;
}  // namespace mimetree::inner

struct MIMETREE_API StringPair {
    // Of an attribute, both in UTF-8.
    StringBuffer m_name;
    StringBuffer m_value;
};

class MIMETREE_API TreeNode {
public:
    TreeNode(const TreeNode&) = delete;
    TreeNode& operator=(const TreeNode&) = delete;

    // The root element of a well-formed XML 1.0 document in UTF-8 (whatever its declaration
    // says), or in UTF-16 with a byte order mark.  Null otherwise; `log`, which may be null,
    // then has a line that names a fault with its line and column (counted in
    // characters, from 1).  A DOCTYPE is passed over: of entities only the five predefined
    // ones exist, and a reference to another is a fault.  The bools are reserved.
    static TreeNode* customParseString(const StringBuffer& xml, LogBase* log, bool reserved1,
                                       bool reserved2, bool reserved3);

    // What owns the tree: to be released with VantrelObject::deleteObject.
    VantrelObject* getDocument() const;

    // As written, prefix included.
    const char* getTag() const;

    // Elements below this one, not those below them; texts are none.
    int getNumChildren() const;
    TreeNode* getChild(int i) const;  // null when out of range

    // The first child with that tag, and with that attribute when one is given; or null.
    TreeNode* getChild(const char* tag, StringPair* attribute) const;

    // The first element with that tag, in document order, among the descendants of this one
    // that follow `after` (null: among all of them); or null.
    TreeNode* searchForTag(TreeNode* after, const char* tag) const;

    // The element's own text, CDATA and spelled bytes (see ClsXml.h) in one piece, without
    // that of its children.  False when memory is exhausted.
    bool copyDecodeContent(StringBuffer& out) const;

    // In the order of the document, entities opened.
    int getNumAttributes() const;
    bool getAttributeName(int i, StringBuffer& out) const;   // false when out of range
    bool getAttributeValue(int i, StringBuffer& out) const;  // the same

protected:
    TreeNode() = default;
    ~TreeNode() = default;

private:
    friend class mimetree::inner::XmlDocument;
    friend class mimetree::inner::XmlReader;

    bool hasAttribute(const StringPair& attribute) const;
    const char* skipMarkup(const char* mark, const TreeNode*& child, StringBuffer& out) const;

    // Elements stand in one array in document order, so the descendants of one follow it.
    // Positions are offsets in the document's text.
    mimetree::inner::XmlDocument* m_document;
    unsigned m_tag;
    unsigned m_content;          // where the content begins
    unsigned m_contentEnd;       // and ends: at the end tag, or at "/>"
    unsigned m_pastDescendants;  // index of the first element that is no descendant
    unsigned m_children;         // indexes of its children in the document's list
    unsigned m_numChildren;
    unsigned m_attributes;  // its attributes in the document's list
    unsigned m_numAttributes;
};
