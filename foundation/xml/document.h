// SPDX-License-Identifier: Apache-2.0
#pragma once

// A parsed XML document: what the reader fills and TreeNode looks into.

#include "foundation/DataBuffer.h"
#include "foundation/TreeNode.h"
#include "foundation/bytes/GrowArray.h"
#include "foundation/xml/names.h"

namespace mimetree::inner {

struct XmlAttribute {
    XmlSlice name;
    XmlSlice value;  // between its quotes, as written
};

class XmlDocument : public VantrelObject {
public:
    // Null, with a line in `log` unless that is null, when `xml` is not well-formed.
    static XmlDocument* read(const StringBuffer& xml, LogBase* log);

    XmlDocument() = default;
    XmlDocument(const XmlDocument&) = delete;
    XmlDocument& operator=(const XmlDocument&) = delete;
    ~XmlDocument() override;

    size_t heapUsage() const override;

    const char* text() const {
        return m_text.isEmpty() ? "" : reinterpret_cast<const char*>(m_text.getData2());
    }
    TreeNode* element(unsigned i) { return m_elements + i; }
    unsigned indexOf(const TreeNode* node) const { return unsigned(node - m_elements); }
    TreeNode* childOf(const TreeNode& parent, unsigned i);
    const XmlAttribute& attributeOf(const TreeNode& element, unsigned i) const;

private:
    friend class XmlReader;

    bool takeText(const StringBuffer& xml);
    bool parse(LogBase* log);  // reader.cpp
    bool takeUtf16(const unsigned char* p, unsigned n, bool isBigEndian);
    TreeNode* addElement();
    bool resizeElements(unsigned n);
    bool listChildren();
    void terminateTags();
    bool finish();

    DataBuffer m_text;  // UTF-8; when read, each tag ends with a NUL in place
    TreeNode* m_elements = nullptr;
    unsigned m_numElements = 0;
    unsigned m_capacity = 0;
    GrowArray<unsigned> m_children;  // for each element in turn, the indexes of its children
    GrowArray<XmlAttribute> m_attributes;
};

}  // namespace mimetree::inner
