// SPDX-License-Identifier: Apache-2.0

// Parses XML 1.0 (fifth edition), for XmlDocument::read, whose text and lists it works on.
// The characters are checked in a pass of their own; from there on a NUL is the end of the
// text and nothing else, so that every look ahead stops there by itself.  Then a flat walk:
// prolog, root element with a list of the elements that are open, what may follow.

#include <algorithm>
#include <cstring>
#include <string_view>

#include "foundation/LogBase.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"
#include "foundation/bytes/ranges.h"
#include "foundation/xml/document.h"
#include "foundation/xml/text.h"

namespace mimetree::inner {

static constexpr char kNoMemory[] = "memory is exhausted";

// XML 1.0 2.8, 2.9 and 4.3.3: what the values in an XML declaration may be.
static constexpr ByteSet kDigits = ByteSet().range('0', '9');
static constexpr ByteSet kLetters = ByteSet().range('A', 'Z').range('a', 'z');

static bool isVersion(std::string_view text) {
    return text.size() > 2 && text.substr(0, 2) == "1." && consistsOf(text.substr(2), kDigits);
}

static bool isEncodingName(std::string_view text) {
    return !text.empty() && kLetters.has(text[0]) &&
           consistsOf(text, kLetters.range('0', '9').with("._-"));
}

static bool isYesOrNo(std::string_view text) { return text == "yes" || text == "no"; }

// In the order in which they stand.
struct DeclarationPart {
    const char* name;
    bool (*isValue)(std::string_view text);
};
static constexpr DeclarationPart kDeclarationParts[] = {
    {"version", isVersion},
    {"encoding", isEncodingName},
    {"standalone", isYesOrNo},
};

class XmlReader {
public:
    XmlReader(XmlDocument& document, LogBase* log);
    bool run();

private:
    // An element whose end tag has not come yet.
    struct Open {
        unsigned element;
        unsigned tagSize;
    };

    bool checkCharacters();
    bool readDeclaration();
    bool readDeclarationPart(const DeclarationPart& part);
    bool readProlog();
    bool readDoctype();
    bool readExternalId();
    bool readInternalSubset();
    bool readMarkupDeclaration();
    bool readRoot();
    bool readEpilog();

    bool readText();
    bool readMarkup();
    bool readStartTag();
    bool readAttributes();
    bool readAttribute();
    bool readAttributeValue();
    bool readEndTag();

    bool readMisc();
    bool readReference();
    bool readComment();
    bool readInstruction();
    bool readCdata();
    bool readQuoted();
    bool readPast(const char* close, const char* fault);
    bool readName(XmlSlice& name);
    bool readEquals();
    bool readChar(char c, const char* fault);

    bool isAtQuote() const { return *m_at == '"' || *m_at == '\''; }
    bool isAt(const char* what) const { return std::strncmp(m_at, what, std::strlen(what)) == 0; }
    bool skipBlank();
    size_t left() const { return static_cast<size_t>(m_end - m_at); }
    unsigned offset() const { return static_cast<unsigned>(m_at - m_begin); }
    bool fail(const char* fault) { return fail(m_at, fault); }
    bool fail(const char* where, const char* fault);

    XmlDocument& m_document;
    LogBase* m_log;
    const char* m_begin;
    const char* m_end;
    const char* m_at;
    GrowArray<Open> m_open;
    XmlNameSet m_names;  // of the attributes in the start tag being read
};

XmlReader::XmlReader(XmlDocument& document, LogBase* log)
    : m_document(document),
      m_log(log),
      m_begin(document.text()),
      m_end(m_begin + document.m_text.getSize()),
      m_at(m_begin) {}

bool XmlReader::run() {
    return checkCharacters() && readDeclaration() && readProlog() && readRoot() && readEpilog() &&
           (m_document.finish() || fail(kNoMemory));
}

// -- Faults

static void locate(const char* p, const char* where, int& line, int& column) {
    line = 1;
    column = 1;
    for (; p != where; ++p) {
        const bool isBreak = *p == '\n' || (*p == '\r' && p[1] != '\n');
        if (isBreak) {
            ++line;
            column = 1;
        } else if ((*p & 0xC0) != 0x80) {
            ++column;
        }
    }
}

bool XmlReader::fail(const char* where, const char* fault) {
    if (!m_log) return false;
    int line, column;
    locate(m_begin, where, line, column);
    StringBuffer text;
    text.append("XML cannot be read, line ");
    text.append(line);
    text.append(", column ");
    text.append(column);
    text.append3(": ", fault, ".");
    m_log->logError(text.getString());
    return false;
}

// XML 1.0 2.2
bool XmlReader::checkCharacters() {
    const char* const stop = m_at + xml::legalRun(m_at, left());
    return stop == m_end || fail(stop, "a byte that is no character of XML in UTF-8");
}

// -- Small pieces

bool XmlReader::skipBlank() {
    const char* const before = m_at;
    while (bytes::isSpace(*m_at)) ++m_at;
    return m_at != before;
}

bool XmlReader::readPast(const char* close, const char* fault) {
    const size_t n = std::strlen(close);
    const char* const hit = bytes::find(m_at, left(), close, n);
    if (!hit) return fail(fault);
    m_at = hit + n;
    return true;
}

bool XmlReader::readName(XmlSlice& name) {
    name = {offset(), static_cast<unsigned>(xml::nameRun(m_at, left()))};
    m_at += name.size;
    return name.size || fail("a name is expected");
}

bool XmlReader::readEquals() {
    skipBlank();
    if (!readChar('=', "\"=\" is expected")) return false;
    skipBlank();
    return isAtQuote() || fail("a quoted value is expected");
}

bool XmlReader::readChar(char c, const char* fault) {
    if (*m_at != c) return fail(fault);
    ++m_at;
    return true;
}

bool XmlReader::readReference() {
    const unsigned length = xml::referenceAt(m_at, m_end).length;
    m_at += length;
    return length || fail("a reference that stands for no character");
}

// A literal of which nothing is asked but that it ends.
bool XmlReader::readQuoted() {
    const char quote[] = {*m_at, '\0'};
    const char* const open = m_at++;
    const char* const close = static_cast<const char*>(std::memchr(m_at, *quote, left()));
    if (!close) return fail(open, "a quote that is not closed");
    m_at = close + 1;
    return true;
}

// XML 1.0 2.5
bool XmlReader::readComment() {
    const char* const open = m_at;
    m_at += 4;
    const char* const dashes = bytes::find(m_at, left(), "--", 2);
    if (!dashes) return fail(open, "a comment that is not closed");
    m_at = dashes;
    if (dashes[2] != '>') return fail("\"--\" in a comment");
    m_at += 3;
    return true;
}

// XML 1.0 2.6
bool XmlReader::readInstruction() {
    m_at += 2;
    const char* const target = m_at;
    XmlSlice name;
    if (!readName(name)) return false;
    if (name.size == 3 && bytes::equalIgnoreCase(target, "xml", 3))
        return fail(target, "an XML declaration that is not at the start");
    if (!isAt("?>") && !skipBlank()) return fail("a blank or \"?>\" is expected");
    return readPast("?>", "an instruction that is not closed");
}

// XML 1.0 2.7
bool XmlReader::readCdata() {
    m_at += 9;
    return readPast("]]>", "a CDATA section that is not closed");
}

// White space, comments and instructions.
bool XmlReader::readMisc() {
    for (;;) {
        skipBlank();
        const bool isComment = isAt("<!--");
        if (!isComment && !isAt("<?")) return true;
        if (!(isComment ? readComment() : readInstruction())) return false;
    }
}

// -- Around the root element

// Tolerated: the name of another encoding than the text's own.  The text was recoded on its
// way here, or the check of its characters has refused it.
bool XmlReader::readDeclaration() {
    if (!isAt("<?xml") || !bytes::isSpace(m_at[5])) return true;
    m_at += 5;
    for (const DeclarationPart& part : kDeclarationParts) {
        const bool hasBlank = skipBlank();
        if (hasBlank && isAt(part.name)) {
            if (!readDeclarationPart(part)) return false;
        } else if (&part == kDeclarationParts) {
            return fail("an XML declaration without version");
        } else if (hasBlank) {
            --m_at;  // for the next part to find
        }
    }
    skipBlank();
    if (!isAt("?>")) return fail("\"?>\" is expected");
    m_at += 2;
    return true;
}

bool XmlReader::readDeclarationPart(const DeclarationPart& part) {
    m_at += std::strlen(part.name);
    if (!readEquals()) return false;
    const char* const value = m_at + 1;
    if (!readQuoted()) return false;
    return part.isValue({value, static_cast<size_t>(m_at - 1 - value)}) ||
           fail(value, "a value that an XML declaration cannot have");
}

bool XmlReader::readProlog() {
    if (!readMisc()) return false;
    if (isAt("<!DOCTYPE") && (!readDoctype() || !readMisc())) return false;
    if (*m_at == '<') return true;
    return fail(m_at == m_end ? "there is no element" : "text outside the root element");
}

// XML 1.0 2.8.  Limit: nothing of a document type is kept, so it defines no entity and can
// neither make a small document large nor reach for a file.
bool XmlReader::readDoctype() {
    m_at += 9;
    XmlSlice name;
    if (!skipBlank()) return fail("a blank is expected");
    if (!readName(name)) return false;
    if (skipBlank() && (isAt("SYSTEM") || isAt("PUBLIC")) && !readExternalId()) return false;
    skipBlank();
    if (*m_at == '[' && !readInternalSubset()) return false;
    skipBlank();
    return readChar('>', "\">\" is expected");
}

bool XmlReader::readExternalId() {
    const int literals = *m_at == 'S' ? 1 : 2;
    m_at += 6;
    for (int i = 0; i < literals; ++i) {
        if (!skipBlank()) return fail("a blank is expected");
        if (!isAtQuote()) return fail("a quoted value is expected");
        if (!readQuoted()) return false;
    }
    return true;
}

bool XmlReader::readInternalSubset() {
    ++m_at;
    XmlSlice name;
    for (;;) {
        if (!readMisc()) return false;
        if (*m_at == ']') break;
        if (*m_at == '%') {
            ++m_at;
            if (!readName(name) || !readChar(';', "\";\" is expected")) return false;
        } else if (!readMarkupDeclaration()) {
            return false;
        }
    }
    ++m_at;
    return true;
}

// Tolerated: whatever stands in a declaration, as long as its end can be told.
bool XmlReader::readMarkupDeclaration() {
    if (!isAt("<!ELEMENT") && !isAt("<!ATTLIST") && !isAt("<!ENTITY") && !isAt("<!NOTATION"))
        return fail("a declaration or \"]\" is expected");
    for (++m_at; *m_at != '>';) {
        if (isAtQuote()) {
            if (!readQuoted()) return false;
        } else if (*m_at == '<' || m_at == m_end) {
            return fail("\">\" is expected");
        } else {
            ++m_at;
        }
    }
    ++m_at;
    return true;
}

bool XmlReader::readEpilog() {
    return readMisc() && (m_at == m_end || fail("more than the root element"));
}

// -- Elements

bool XmlReader::readRoot() {
    if (!readStartTag()) return false;
    while (!m_open.isEmpty())
        if (!readText() || !readMarkup()) return false;
    return true;
}

// XML 1.0 2.4: up to the next "<".
bool XmlReader::readText() {
    const void* const mark = std::memchr(m_at, '<', left());
    const char* const stop = mark ? static_cast<const char*>(mark) : m_end;
    const auto run = [&] { return static_cast<size_t>(stop - m_at); };
    if (const char* const close = bytes::find(m_at, run(), "]]>", 3))
        return fail(close, "\"]]>\" in text");
    while (const void* const reference = std::memchr(m_at, '&', run())) {
        m_at = static_cast<const char*>(reference);
        if (!readReference()) return false;
    }
    m_at = stop;
    return mark || fail("the text ends inside an element");
}

bool XmlReader::readMarkup() {
    if (isAt("</")) return readEndTag();
    if (isAt("<!--")) return readComment();
    if (isAt("<![CDATA[")) return readCdata();
    if (isAt("<?")) return readInstruction();
    return readStartTag();
}

// XML 1.0 3.1
bool XmlReader::readStartTag() {
    ++m_at;
    XmlSlice name;
    if (!readName(name)) return false;
    TreeNode* const element = m_document.addElement();
    if (!element) return fail(kNoMemory);
    element->m_tag = name.at;
    if (!readAttributes()) return false;
    element->m_numAttributes = m_document.m_attributes.size() - element->m_attributes;

    if (*m_at == '/') {
        element->m_content = element->m_contentEnd = offset();
        element->m_pastDescendants = m_document.m_numElements;
        m_at += 2;
        return true;
    }
    ++m_at;
    element->m_content = offset();
    return m_open.push({m_document.m_numElements - 1, name.size}) || fail(kNoMemory);
}

// Up to ">" or "/>".
bool XmlReader::readAttributes() {
    m_names.clear();
    for (;;) {
        const bool hasBlank = skipBlank();
        if (*m_at == '>' || isAt("/>")) return true;
        if (!hasBlank) return fail("a blank or \">\" is expected");
        if (!readAttribute()) return false;
    }
}

bool XmlReader::readAttribute() {
    const char* const start = m_at;
    XmlAttribute attribute;
    if (!readName(attribute.name)) return false;
    if (m_names.has(m_begin, attribute.name))
        return fail(start, "an attribute that stands there twice");
    if (!readEquals()) return false;
    attribute.value.at = offset() + 1;
    if (!readAttributeValue()) return false;
    attribute.value.size = offset() - 1 - attribute.value.at;
    return (m_names.insert(m_begin, attribute.name) && m_document.m_attributes.push(attribute)) ||
           fail(kNoMemory);
}

bool XmlReader::readAttributeValue() {
    const char* const open = m_at++;
    while (*m_at != *open) {
        if (*m_at == '<') return fail("\"<\" in an attribute value");
        if (m_at == m_end) return fail(open, "a quote that is not closed");
        if (*m_at != '&') ++m_at;
        else if (!readReference()) return false;
    }
    ++m_at;
    return true;
}

bool XmlReader::readEndTag() {
    const char* const start = m_at;
    m_at += 2;
    const Open open = m_open.back();
    TreeNode& element = *m_document.element(open.element);
    XmlSlice name;
    if (!readName(name)) return false;
    if (name.size != open.tagSize ||
        std::memcmp(m_begin + name.at, m_begin + element.m_tag, name.size) != 0)
        return fail(start, "an end tag that does not match its start tag");
    skipBlank();
    if (!readChar('>', "\">\" is expected")) return false;
    element.m_contentEnd = static_cast<unsigned>(start - m_begin);
    element.m_pastDescendants = m_document.m_numElements;
    m_open.pop();
    return true;
}

bool XmlDocument::parse(LogBase* log) { return XmlReader(*this, log).run(); }

}  // namespace mimetree::inner
