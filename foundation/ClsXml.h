// SPDX-License-Identifier: Apache-2.0
#pragma once

// Builds an XML document and prints it.
//
//   ClsXml* xml = ClsXml::createNewCls();
//   xml->put_TagUtf8("note");
//   if (ClsXml* to = xml->newChild("to", "A & B", nullptr)) to->deleteSelf();
//   xml->getXml(false, out, log);
//   xml->deleteSelf();
//
// A ClsXml is a handle to one element.  The document lives as long as any handle to it, and
// releasing a handle never removes an element.
//
// What is printed is well-formed XML 1.0 in UTF-8, whatever it was given, and TreeNode reads
// back the same bytes; xml/text.h says how bytes are spelled that XML cannot hold.  A line
// break is written between elements only where their parent has no content of its own.

#include "foundation/export.h"

class LogBase;
class StringBuffer;

namespace mimetree::inner {
struct XmlElement;
struct XmlOutput;
struct XmlTree;
}  // namespace mimetree::inner

class MIMETREE_API ClsBase {
public:
    ClsBase(const ClsBase&) = delete;
    ClsBase& operator=(const ClsBase&) = delete;

    // Releases the handle; nothing may be called on it afterwards.
    void deleteSelf() { delete this; }

protected:
    ClsBase() = default;
    virtual ~ClsBase() = default;
};

class MIMETREE_API ClsXml : public ClsBase {
public:
    // The root of a new document, tagged "unnamed"; null when memory is exhausted.
    static ClsXml* createNewCls();

    // Appends a child element and gives a new handle to it, the caller's to release; null
    // when memory is exhausted.  `content` may be null, as may `log`.
    ClsXml* newChild(const char* tag, const char* content, LogBase* log);

    // Names that are not names in XML are written as xmlNameFromBytes spells them.
    void put_TagUtf8(const char* tag);

    // Whether the content is written as CDATA sections instead of escaped.
    void put_Cdata(bool cdata);

    // The element's text, printed before its children.  The second takes any bytes; false
    // when memory is exhausted.
    void put_ContentUtf8(const char* content);
    bool setContent(const char* content, unsigned n);
    void takeContent(StringBuffer& content);  // which gets the old one

    // False when the element has an attribute of that name, which then stays, or when
    // memory is exhausted.
    bool addAttributeUtf8(const char* name, const char* value);
    bool addAttribute(const char* name, const char* value, unsigned valueSize);

    // Appends the whole document, whichever element this is.  The bool is reserved.  False,
    // with `out` as it was, when memory is exhausted.
    bool getXml(bool reserved, StringBuffer& out, LogBase& log) const;

    // Printing a document while it is built, so that it is never there as a whole.
    // printFront() prints the element up to its last child, which may grow yet, and drops what
    // it printed; it must have a child.  printEnd() prints the rest and drops the element: the
    // handle is then its parent's, unless it is the root's.  False when memory is exhausted or
    // the output is refused; there is then no use in going on.
    bool printFront(mimetree::inner::XmlOutput& out);
    bool printEnd(mimetree::inner::XmlOutput& out);

    // Spells arbitrary bytes as an XML name, and back; both append.  A byte that no name can
    // hold there, or a colon, becomes "_xHH_" (two hexadecimal digits), no bytes at all
    // become "_x_", and a "_" that would be read as the start of such a spelling becomes
    // "_x5F_"; everything else stays, so a name without colon and "_x" is its own spelling.
    static void xmlNameFromBytes(const char* name, unsigned n, StringBuffer& out);
    static void bytesFromXmlName(const char* name, unsigned n, StringBuffer& out);

private:
    ClsXml(mimetree::inner::XmlTree* tree, mimetree::inner::XmlElement* element);
    ~ClsXml() override;

    mimetree::inner::XmlTree* m_tree;
    mimetree::inner::XmlElement* m_element;
};
