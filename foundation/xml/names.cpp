// SPDX-License-Identifier: Apache-2.0

// Names of elements and attributes: recognised for the XML reader, spelled for ClsXml, and
// kept apart for both.

#include "foundation/xml/names.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "foundation/ClsXml.h"
#include "foundation/StringBuffer.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"
#include "foundation/xml/text.h"

using namespace mimetree::inner;

namespace {

// XML 1.0 2.3, NameStartChar and what NameChar adds to it.
constexpr ByteSet kStartAscii = ByteSet(":_").range('A', 'Z').range('a', 'z');
constexpr ByteSet kNameAscii = kStartAscii.range('0', '9').with("-.");

struct Range {
    uint32_t first, last;
};
constexpr Range kStart[] = {
    {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
    {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
    {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF},
};
constexpr Range kNameOnly[] = {{0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};

template <size_t N>
bool isIn(const Range (&ranges)[N], uint32_t c) {
    for (const Range& range : ranges)
        if (c >= range.first && c <= range.last) return true;
    return false;
}

// Length of the name character at `p`; 0 when none stands there.
unsigned nameChar(const char* p, const char* end, bool isFirst) {
    if (p == end) return 0;
    uint32_t c;
    const unsigned length = xml::charAt(p, end, c);
    if (length <= 1) return length && (isFirst ? kStartAscii : kNameAscii).has(*p) ? 1 : 0;
    return isIn(kStart, c) || (!isFirst && isIn(kNameOnly, c)) ? length : 0;
}

// The same for what a spelled name takes over as it is.
unsigned plainNameChar(const char* p, const char* end, bool isFirst) {
    // A colon would make what precedes it a prefix, which nothing declares.
    return p != end && *p == ':' ? 0 : nameChar(p, end, isFirst);
}

// Length of the "_x" and the hexadecimal pair, if any, with which an escape begins; 0: none.
unsigned escapeStart(const char* p, const char* end) {
    if (end - p < 2 || p[0] != '_' || p[1] != 'x') return 0;
    const bool hasPair = end - p >= 4 && bytes::hexValue(p[2]) >= 0 && bytes::hexValue(p[3]) >= 0;
    return hasPair ? 4 : 2;
}

// True when the "_" at `p` would be read as an escape if it were written as it is: one that
// stands there, or one that an escape written behind it would close.
bool looksLikeEscape(const char* p, const char* end) {
    const unsigned start = escapeStart(p, end);
    if (!start) return false;
    const char* const next = p + start;
    return next != end && (*next == '_' || !plainNameChar(next, end, false));
}

}  // namespace

void xml::appendSpelledByte(char byte, StringBuffer& out) {
    static const char kDigits[] = "0123456789ABCDEF";
    const unsigned value = static_cast<unsigned char>(byte);
    const char text[] = {'_', 'x', kDigits[value >> 4], kDigits[value & 15], '_'};
    out.appendN(text, sizeof text);
}

size_t xml::nameRun(const char* p, size_t n) {
    const char* const end = p + n;
    const char* at = p;
    while (const unsigned length = nameChar(at, end, at == p)) at += length;
    return static_cast<size_t>(at - p);
}

void ClsXml::xmlNameFromBytes(const char* name, unsigned n, StringBuffer& out) {
    if (n == 0) out.append("_x_");
    const char* const end = name + n;
    for (const char* p = name; p != end;) {
        const unsigned length = plainNameChar(p, end, p == name);
        if (length && !looksLikeEscape(p, end)) {
            out.appendN(p, length);
            p += length;
        } else {
            xml::appendSpelledByte(*p++, out);
        }
    }
}

void ClsXml::bytesFromXmlName(const char* name, unsigned n, StringBuffer& out) {
    const char* const end = name + n;
    for (const char* p = name; p != end;) {
        const unsigned start = escapeStart(p, end);
        if (!start || p + start == end || p[start] != '_') {
            out.appendChar(*p++);
            continue;
        }
        if (start == 4)
            out.appendChar(static_cast<char>(bytes::hexValue(p[2]) * 16 + bytes::hexValue(p[3])));
        p += start + 1;
    }
}

// The names are held as sorted runs whose lengths are the powers of two that add up to their
// number, the longest first.
static bool precedes(const char* text, XmlSlice a, XmlSlice b) {
    if (a.size != b.size) return a.size < b.size;
    return std::memcmp(text + a.at, text + b.at, a.size) < 0;
}

bool XmlNameSet::has(const char* text, XmlSlice name) const {
    const auto less = [text](XmlSlice a, XmlSlice b) { return precedes(text, a, b); };
    const XmlSlice* run = m_names.begin();
    for (unsigned left = m_names.size(); left;) {
        const unsigned length = std::bit_floor(left);
        if (std::binary_search(run, run + length, name, less)) return true;
        run += length;
        left -= length;
    }
    return false;
}

bool XmlNameSet::insert(const char* text, XmlSlice name) {
    const auto less = [text](XmlSlice a, XmlSlice b) { return precedes(text, a, b); };
    // As when 1 is added to a binary number, the trailing runs become one with the new name.
    const unsigned merged = 1u << std::countr_one(m_names.size());
    if (!m_names.push(name)) return false;
    std::sort(m_names.end() - merged, m_names.end(), less);
    return true;
}
