// SPDX-License-Identifier: Apache-2.0

// A header described in XML, for mime/xml/xml_out.cpp.  Each field is written in the readable form
// only when mime/xml/xml_in.cpp makes the same field of it; otherwise its value stands whole in an
// element whose tag is spelled so that the reader takes it as it is.

#include <cstring>

#include "foundation/ClsXml.h"
#include "foundation/ExtPtrArray.h"
#include "foundation/LogNull.h"
#include "foundation/MimeHeader.h"
#include "foundation/_zqEmailAddress.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"
#include "foundation/header/HeaderParams.h"
#include "foundation/header/header_fields.h"
#include "foundation/xml/names.h"
#include "foundation/xml/output.h"
#include "foundation/zqStrings.h"

using namespace mimetree::inner;

namespace {

// -- Addresses

const _zqEmailAddress* addressAt(const ExtPtrArray& list, int i) {
    return static_cast<const _zqEmailAddress*>(list.elementAt(i));
}

bool parseDecoded(const StringBuffer& value, ExtPtrArray& list) {
    LogNull silent;
    if (!_zqEmailAddress::parseAndLoadList(value.getString(), list, 0, silent)) return false;
    for (int i = 0; i < list.getSize(); ++i) {
        auto* address = static_cast<_zqEmailAddress*>(list.elementAt(i));
        if (!address->m_displayName.getUtf8Sb_rw().qbDecode(silent)) return false;
    }
    return true;
}

// What the reader makes of the entries.
void appendAsRead(const ExtPtrArray& list, StringBuffer& out) {
    for (int i = 0; i < list.getSize(); ++i) {
        const _zqEmailAddress* address = addressAt(list, i);
        if (i > 0) out.append(", ");
        if (!address->m_displayName.isEmpty())
            out.append3("\"", address->m_displayName.getUtf8(), "\" ");
        out.append3("<", address->m_address.getUtf8(), ">");
    }
}

bool sameAddresses(const ExtPtrArray& a, const ExtPtrArray& b) {
    if (a.getSize() != b.getSize()) return false;
    for (int i = 0; i < a.getSize(); ++i) {
        if (!addressAt(a, i)->m_displayName.getUtf8Sb().equals(
                addressAt(b, i)->m_displayName.getUtf8Sb()) ||
            !addressAt(a, i)->m_address.getUtf8Sb().equals(addressAt(b, i)->m_address.getUtf8Sb()))
            return false;
    }
    return true;
}

// RFC 5322 3.4: the colon behind the name of a group, which stands in nothing that is closed.
bool hasGroup(const StringBuffer& value) {
    static constexpr char kPairs[] = "\"\"<>()[]";
    char close = '\0';
    for (const char* p = value.getString(); *p; ++p) {
        if (*p == '\\' && p[1]) ++p;
        else if (close) close = *p == close ? '\0' : close;
        else if (*p == ':') return true;
        else if (const char* pair = zqStrChr(kPairs, *p)) close = pair[1];
    }
    return false;
}

// RFC 5321 3.6.3: the path of a bounce.
bool isNullPath(const StringBuffer& value) { return value.equals("<>"); }

// Groups and odd lists are not told by their addresses alone.
bool canBeEntries(const StringBuffer& value, ExtPtrArray& list) {
    if (hasGroup(value) || value.containsSubstringNoCase("?8bit?")) return false;
    if (!parseDecoded(value, list)) return false;
    if (list.getSize() == 0) return value.isEmpty() || isNullPath(value);
    StringBuffer asRead;
    ExtPtrArray readBack;
    appendAsRead(list, asRead);
    return !asRead.containsSubstring("?8bit?") && parseDecoded(asRead, readBack) &&
           sameAddresses(list, readBack);
}

bool addLeaf(ClsXml& parent, const char* tag, const StringBuffer& content) {
    ClsXml* leaf = parent.newChild(tag, nullptr, nullptr);
    if (!leaf) return false;
    const bool added = leaf->setContent(content.getString(), content.getSize());
    leaf->deleteSelf();
    return added;
}

bool addEntry(ClsXml& field, const StringBuffer& addr, const StringBuffer& name) {
    ClsXml* entry = field.newChild("address", nullptr, nullptr);
    if (!entry) return false;
    const bool added = addLeaf(*entry, "addr", addr) && addLeaf(*entry, "name", name);
    entry->deleteSelf();
    return added;
}

// The elements of a header, which are printed as they come where there is an output.
struct HeaderOutput {
    ClsXml& xml;
    ClsXml& header;
    XmlOutput* const out;

    bool printFront() { return !out || (xml.printFront(*out) && header.printFront(*out)); }
    bool printFrontOf(ClsXml& field) { return !out || (printFront() && field.printFront(*out)); }
    bool printEndOf(ClsXml& field) { return !out || field.printEnd(*out); }
};

bool addEntries(ClsXml& field, const ExtPtrArray& list, HeaderOutput& output) {
    constexpr int kMany = 64;  // are printed together
    bool ok = true;
    for (int i = 0; i < list.getSize() && ok; ++i)
        ok = addEntry(field, addressAt(list, i)->m_address.getUtf8Sb(),
                      addressAt(list, i)->m_displayName.getUtf8Sb()) &&
             (i % kMany != kMany - 1 || output.printFrontOf(field));
    return ok && (list.getSize() < kMany || output.printEndOf(field));
}

// -- Parameters

constexpr ByteSet kNameStart = ByteSet("_").range('a', 'z').range('A', 'Z');
constexpr ByteSet kPlainNameBytes = kNameStart.range('0', '9').with("-.*");

// XML namespaces 3: "xmlns" would be no attribute.
bool isAttributeName(const StringBuffer& name) {
    if (!kNameStart.has(name.getString()[0]) || name.containsSubstring(kXmlAsterisk)) return false;
    bool plain = !name.equals("xmlns");
    for (unsigned i = 0; i < name.getSize(); ++i)
        plain = plain && kPlainNameBytes.has(name.getString()[i]);
    return plain;
}

// The reader writes every value in quotes, which keeps blanks, an "=" in front, what looks
// like a quoted part and what an encoded word holds from being read as they are without.
bool isAttributeValue(const HeaderParams& params) {
    const StringBuffer& value = params.value();
    if (value.isEmpty() || value.containsChar('"') || value.lastChar() == '\\') return false;
    return params.wasQuoted() ||
           !(value.containsChar(' ') || value.containsChar('\t') || value.containsSubstring("=?") ||
             value.beginsWith("=") || value.beginsWith("<[["));
}

// Compares a value with the pieces that it is thought to consist of.
class Matcher {
public:
    explicit Matcher(const StringBuffer& text)
        : m_at(text.getString()), m_end(m_at + text.getSize()) {}

    bool take(const StringBuffer& piece) {
        const size_t n = piece.getSize();
        if (static_cast<size_t>(m_end - m_at) < n) return false;
        if (n > 0 && std::memcmp(m_at, piece.getString(), n) != 0) return false;
        m_at += n;
        return true;
    }
    bool take(char c) {
        if (m_at == m_end || *m_at != c) return false;
        ++m_at;
        return true;
    }
    bool takeBetweenBlanks(char c) {
        skipBlanks();
        if (!take(c)) return false;
        skipBlanks();
        return true;
    }
    bool atEnd() {
        skipBlanks();
        return m_at == m_end;
    }

private:
    void skipBlanks() {
        while (m_at != m_end && bytes::isBlank(*m_at)) ++m_at;
    }

    const char* m_at;
    const char* const m_end;
};

// Comments, escapes and names without a value would be lost.
bool canBeAttributes(const StringBuffer& value) {
    HeaderParams params(value.getString(), value.getSize());
    StringBuffer main;
    params.getMainValue(main);
    if (main.isEmpty() || main.containsChar('"') || main.containsSubstringNoCase("?8bit?"))
        return false;
    Matcher match(value);
    if (!match.take(main)) return false;
    while (params.next()) {
        if (!isAttributeName(params.name()) || !isAttributeValue(params)) return false;
        const bool matches =
            match.takeBetweenBlanks(';') && match.take(params.name()) &&
            match.takeBetweenBlanks('=') &&
            (params.wasQuoted() ? match.take('"') && match.take(params.value()) && match.take('"')
                                : match.take(params.value()));
        if (!matches) return false;
    }
    match.takeBetweenBlanks(';');
    return match.atEnd();
}

// False, the element to be given up, when a parameter stands twice.
bool addParams(ClsXml& field, const StringBuffer& value) {
    HeaderParams params(value.getString(), value.getSize());
    while (params.next()) {
        StringBuffer name(params.name());
        name.replaceAllOccurances("*", kXmlAsterisk);
        if (!field.addAttribute(name.getString(), params.value().getString(),
                                params.value().getSize()))
            return false;
    }
    return true;
}

bool hasDoubledParam(const StringBuffer& value) {
    HeaderParams params(value.getString(), value.getSize());
    ClsXml* trial = ClsXml::createNewCls();
    const bool doubled = trial && !addParams(*trial, value);
    if (trial) trial->deleteSelf();
    return doubled;
}

// -- Fields: each may take its value

// The element's tag: the name spelled as XML can hold it.  A field that the reader would not
// take as it stands, since its name asks for entries or its value for decoding, has its first
// letter spelled as well.
void appendTag(const StringBuffer& name, const StringBuffer& value, StringBuffer& tag) {
    const bool spells = isXmlAddressField(name.getString()) ||
                        (!name.isEmpty() && value.containsSubstringNoCase("?8bit?"));
    if (spells) xml::appendSpelledByte(name.getString()[0], tag);
    if (!spells || name.getSize() > 1)
        ClsXml::xmlNameFromBytes(name.getString() + spells, name.getSize() - spells, tag);
}

bool addWhole(ClsXml& header, const StringBuffer& name, StringBuffer& value) {
    StringBuffer tag;
    appendTag(name, value, tag);
    ClsXml* const leaf = header.newChild(tag.getString(), nullptr, nullptr);
    if (!leaf) return false;
    leaf->takeContent(value);
    leaf->deleteSelf();
    return true;
}

bool addAddressField(HeaderOutput& output, const StringBuffer& name, StringBuffer& value) {
    ExtPtrArray list;
    if (!canBeEntries(value, list)) return addWhole(output.header, name, value);
    ClsXml* field = output.header.newChild(name.getString(), nullptr, nullptr);
    if (!field) return false;
    const bool added = list.getSize() == 0 && isNullPath(value)
                           ? addEntry(*field, StringBuffer(), StringBuffer())
                           : addEntries(*field, list, output);
    field->deleteSelf();
    return added;
}

bool addParamField(ClsXml& header, const StringBuffer& name, StringBuffer& value) {
    if (!canBeAttributes(value) || hasDoubledParam(value)) return addWhole(header, name, value);
    StringBuffer main;
    HeaderParams(value.getString(), value.getSize()).getMainValue(main);
    ClsXml* field = header.newChild(name.getString(), nullptr, nullptr);
    if (!field) return false;
    const bool added =
        field->setContent(main.getString(), main.getSize()) && addParams(*field, value);
    field->deleteSelf();
    return added;
}

bool addField(HeaderOutput& output, const StringBuffer& name, StringBuffer& value) {
    if (isXmlAddressField(name.getString())) return addAddressField(output, name, value);
    if (grammarOf(name.getString(), name.getSize()) == FieldGrammar::Params)
        return addParamField(output.header, name, value);
    return addWhole(output.header, name, value);
}

}  // namespace

bool MimeHeader::mimeHeaderToXml(ClsXml& xml, int, ExtPtrArray*, LogBase& log) const {
    return printXml(xml, nullptr, log);
}

// With an output, the fields do not gather in the document.
bool MimeHeader::printXml(ClsXml& xml, XmlOutput* out, LogBase& log) const {
    ClsXml* header = xml.newChild("header", nullptr, nullptr);
    if (!header) return false;
    HeaderOutput output{xml, *header, out};
    bool ok = true;
    StringBuffer name, value;
    for (int i = 0; i < getNumFields() && ok; ++i) {
        name.weakClear();
        value.weakClear();
        ok = getFieldNameUtf8(i, name, log) &&
             (name.isEmpty() ? getFieldText(i, value) : getFieldValueUtf8(i, value, log)) &&
             addField(output, name, value) && output.printFront();
    }
    header->deleteSelf();
    if (!ok) log.logError("Out of memory.");
    return ok;
}

// RFC 5322 2.1.1.
void MimeHeader::writeAnew() {
    constexpr unsigned kLineSize = 78;
    for (Field& field : m_fields) {
        const char* const line = m_text.data() + field.start;
        const bool mustChange = field.size > kLineSize || !bytes::isAscii(line, field.size);
        if (field.nameSize == 0 || !mustChange) continue;
        field.isRaw = false;
        m_asRead = false;
    }
}
