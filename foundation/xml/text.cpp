// SPDX-License-Identifier: Apache-2.0

// Legal characters, escapes and their undoing.  Each writer takes the longest run that can
// stand as it is, then deals with the one thing that stopped it; each reader likewise.
// Called by ClsXml (writing), the XML reader (checks) and TreeNode (decoding).

#include "foundation/xml/text.h"

#include <cstring>

#include "foundation/bytes/ByteSet.h"
#include "foundation/StringBuffer.h"
#include "foundation/bytes/bytes.h"

namespace mimetree::inner {

namespace {

constexpr ByteSet kLegalAscii = ByteSet("\t\n\r").range(' ', '\x7F');
constexpr ByteSet kTextAscii = kLegalAscii.without("&<>\r");
constexpr ByteSet kCdataAscii = kLegalAscii.without("\r");
constexpr ByteSet kAttributeAscii = kLegalAscii.without("&<>\"'\t\n\r");

constexpr char kEscape[] = "\xE2\x90\x9B";  // U+241B
constexpr unsigned kEscapeSize = 3;
constexpr char kInstruction[] = "mimetree-bytes ";
constexpr unsigned kInstructionSize = sizeof kInstruction - 1;

unsigned charOf(const char* p) { return static_cast<unsigned char>(*p); }

bool append(StringBuffer& out, const char* p, size_t n) {
    return out.appendN(p, static_cast<unsigned>(n));
}

bool isLegal(uint32_t c) {
    if (c < 0x20) return c == '\t' || c == '\n' || c == '\r';
    return c < 0xD800 || (c > 0xDFFF && c < 0xFFFE) || (c > 0xFFFF && c <= 0x10FFFF);
}

// Length of the run at `p` that may be written as it stands: bytes of `ascii`, and every
// character beyond ASCII that XML can hold.
size_t plainRun(const char* p, size_t n, const ByteSet& ascii) {
    const char* const end = p + n;
    const char* at = p;
    for (;;) {
        while (at != end && ascii.has(*at)) ++at;
        if (at == end || charOf(at) < 0x80) break;
        uint32_t codePoint;
        const unsigned length = xml::charAt(at, end, codePoint);
        if (!length) break;
        at += length;
    }
    return static_cast<size_t>(at - p);
}

size_t illegalRun(const char* p, size_t n) {
    size_t run = 0;
    uint32_t codePoint;
    while (run < n && !xml::charAt(p + run, p + n, codePoint)) ++run;
    return run;
}

bool appendHex(char byte, StringBuffer& out) {
    static const char kDigits[] = "0123456789ABCDEF";
    const unsigned value = static_cast<unsigned char>(byte);
    return out.appendChar(kDigits[value >> 4]) && out.appendChar(kDigits[value & 15]);
}

int hexPair(const char* p) {
    const int high = bytes::hexValue(p[0]);
    const int low = high < 0 ? -1 : bytes::hexValue(p[1]);
    return low < 0 ? -1 : high * 16 + low;
}

bool appendInstruction(const char* p, size_t n, StringBuffer& out) {
    if (!out.append("<?") || !out.append(kInstruction)) return false;
    for (size_t i = 0; i < n; ++i)
        if (!appendHex(p[i], out)) return false;
    return out.append("?>");
}

bool appendEscaped(const char* p, size_t n, StringBuffer& out) {
    for (size_t i = 0; i < n; ++i)
        if (!append(out, kEscape, kEscapeSize) || !appendHex(p[i], out)) return false;
    return true;
}

struct Entity {
    char character;
    const char* reference;
};

// The first five are predefined (XML 1.0 4.6); the others are how we write line breaks and
// tabs that a reader would change (2.11, 3.3.3).
constexpr Entity kEntities[] = {
    {'&', "&amp;"},   {'<', "&lt;"},   {'>', "&gt;"},   {'"', "&quot;"},
    {'\'', "&apos;"}, {'\r', "&#13;"}, {'\n', "&#10;"}, {'\t', "&#9;"},
};
constexpr unsigned kPredefined = 5;

const char* referenceFor(char c) {
    for (const Entity& entity : kEntities)
        if (entity.character == c) return entity.reference;
    return nullptr;
}

using AppendOdd = bool (*)(const char*, size_t, StringBuffer&);

bool appendEscapedRuns(const char* p, size_t n, const ByteSet& ascii, AppendOdd appendOdd,
                       StringBuffer& out) {
    while (n) {
        size_t run = plainRun(p, n, ascii);
        if (run) {
            if (!append(out, p, run)) return false;
        } else if (const char* reference = referenceFor(*p)) {
            run = 1;
            if (!out.append(reference)) return false;
        } else {
            run = illegalRun(p, n);
            if (!appendOdd(p, run, out)) return false;
        }
        p += run;
        n -= run;
    }
    return true;
}

// XML 1.0 2.7: a section ends at its first "]]>", so one in the text is cut in two.
bool appendSection(const char* p, size_t n, StringBuffer& out) {
    if (!out.append("<![CDATA[")) return false;
    while (const char* close = bytes::find(p, n, "]]>", 3)) {
        const size_t cut = static_cast<size_t>(close - p) + 2;
        if (!append(out, p, cut) || !out.append("]]><![CDATA[")) return false;
        p += cut;
        n -= cut;
    }
    return append(out, p, n) && out.append("]]>");
}

// -- Reading

unsigned encodeUtf8(uint32_t c, char* out) {
    const unsigned size = c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
    constexpr unsigned kLead[] = {0, 0, 0xC0, 0xE0, 0xF0};
    for (unsigned i = size; i-- > 1; c >>= 6) out[i] = static_cast<char>(0x80 | (c & 0x3F));
    out[0] = static_cast<char>(kLead[size] | c);
    return size;
}

xml::Reference numericReference(const char* p, const char* end) {
    const char* at = p + 2;
    const bool hex = at != end && *at == 'x';
    if (hex) ++at;
    const char* const digits = at;
    uint32_t c = 0;
    for (; at != end; ++at) {
        const int digit = bytes::hexValue(*at);
        if (digit < 0 || (!hex && digit > 9)) break;
        if (c <= 0x10FFFF) c = c * (hex ? 16 : 10) + static_cast<unsigned>(digit);
    }
    xml::Reference result;
    if (at == digits || at == end || *at != ';' || !isLegal(c)) return result;
    result.length = static_cast<unsigned>(at - p) + 1;
    result.utf8Size = encodeUtf8(c, result.utf8);
    return result;
}

// Appends [p, p + n): what is no member of `odd` as it stands, a reference as its character,
// and a white-space member as `blank`; XML 1.0 2.11: CRLF counts as one.
bool decodeRuns(const char* p, size_t n, const ByteSet& odd, char blank, StringBuffer& out) {
    const char* const end = p + n;
    while (p != end) {
        const char* stop = p;
        while (stop != end && !odd.has(*stop)) ++stop;
        if (!append(out, p, static_cast<size_t>(stop - p))) return false;
        p = stop;
        if (p == end) break;
        if (*p == '&') {
            const xml::Reference reference = xml::referenceAt(p, end);
            if (!append(out, reference.utf8, reference.utf8Size)) return false;
            p += reference.length;
        } else {
            if (!out.appendChar(blank)) return false;
            p += end - p > 1 && p[0] == '\r' && p[1] == '\n' ? 2 : 1;
        }
    }
    return true;
}

// Replaces our escapes in what `out` holds from `from` on.
void undoEscapes(StringBuffer& out, unsigned from) {
    const char* const end = out.getString() + out.getSize();
    const char* p = out.getString() + from;
    char* to = out.getString_rw() + from;
    while (const char* hit = bytes::find(p, static_cast<size_t>(end - p), kEscape, kEscapeSize)) {
        const char* const digits = hit + kEscapeSize;
        const int byte = end - digits >= 2 ? hexPair(digits) : -1;
        const char* const keepTo = byte < 0 ? digits : hit;
        std::memmove(to, p, static_cast<size_t>(keepTo - p));
        to += keepTo - p;
        if (byte >= 0) *to++ = static_cast<char>(byte);
        p = byte < 0 ? digits : digits + 2;
    }
    std::memmove(to, p, static_cast<size_t>(end - p));
    out.shorten(static_cast<unsigned>(p - to));
}

}  // namespace

namespace xml {

unsigned charAt(const char* p, const char* end, uint32_t& codePoint) {
    const unsigned lead = charOf(p);
    codePoint = lead;
    if (lead < 0x80) return isLegal(lead) ? 1 : 0;
    // RFC 3629 3: C0, C1 and F5 up never occur.
    if (lead < 0xC2 || lead > 0xF4) return 0;
    const unsigned length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (end - p < static_cast<ptrdiff_t>(length)) return 0;
    codePoint = lead & (0x7Fu >> length);
    for (unsigned i = 1; i < length; ++i) {
        if ((charOf(p + i) & 0xC0) != 0x80) return 0;
        codePoint = codePoint << 6 | (charOf(p + i) & 0x3F);
    }
    constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    return codePoint >= kSmallest[length] && isLegal(codePoint) ? length : 0;
}

size_t legalRun(const char* p, size_t n) { return plainRun(p, n, kLegalAscii); }

Reference referenceAt(const char* p, const char* end) {
    if (end - p > 1 && p[1] == '#') return numericReference(p, end);
    Reference result;
    for (unsigned i = 0; i < kPredefined; ++i) {
        const size_t length = std::strlen(kEntities[i].reference);
        if (static_cast<size_t>(end - p) < length) continue;
        if (std::memcmp(p, kEntities[i].reference, length) != 0) continue;
        result.length = static_cast<unsigned>(length);
        result.utf8Size = 1;
        result.utf8[0] = kEntities[i].character;
    }
    return result;
}

bool appendText(const char* p, size_t n, StringBuffer& out) {
    return appendEscapedRuns(p, n, kTextAscii, appendInstruction, out);
}

bool appendCdata(const char* p, size_t n, StringBuffer& out) {
    while (n) {
        size_t run = plainRun(p, n, kCdataAscii);
        if (run) {
            if (!appendSection(p, run, out)) return false;
        } else if (*p == '\r') {
            // The LF of a CRLF stays with its CR, so that the next section is the next line.
            run = n > 1 && p[1] == '\n' ? 2 : 1;
            if (!out.append(run == 2 ? "&#13;\n" : "&#13;")) return false;
        } else {
            run = illegalRun(p, n);
            if (!appendInstruction(p, run, out)) return false;
        }
        p += run;
        n -= run;
    }
    return true;
}

bool appendAttributeValue(const char* p, size_t n, StringBuffer& out) {
    while (const char* hit = bytes::find(p, n, kEscape, kEscapeSize)) {
        const size_t run = static_cast<size_t>(hit - p);
        if (!appendEscapedRuns(p, run, kAttributeAscii, appendEscaped, out)) return false;
        if (!appendEscaped(hit, kEscapeSize, out)) return false;
        p = hit + kEscapeSize;
        n -= run + kEscapeSize;
    }
    return appendEscapedRuns(p, n, kAttributeAscii, appendEscaped, out);
}

bool decodeText(const char* p, size_t n, StringBuffer& out) {
    constexpr ByteSet kOdd("&\r");
    return decodeRuns(p, n, kOdd, '\n', out);
}

bool decodeCdata(const char* p, size_t n, StringBuffer& out) {
    constexpr ByteSet kOdd("\r");
    return decodeRuns(p, n, kOdd, '\n', out);
}

bool decodeInstruction(const char* p, size_t n, StringBuffer& out) {
    if (n < kInstructionSize || std::memcmp(p, kInstruction, kInstructionSize) != 0) return true;
    for (size_t i = kInstructionSize; i + 1 < n; i += 2) {
        const int byte = hexPair(p + i);
        if (byte >= 0 && !out.appendChar(static_cast<char>(byte))) return false;
    }
    return true;
}

// XML 1.0 3.3.3: white space that is not written as a reference becomes a blank.
bool decodeAttributeValue(const char* p, size_t n, StringBuffer& out) {
    constexpr ByteSet kOdd("&\r\n\t");
    const unsigned from = out.getSize();
    if (!decodeRuns(p, n, kOdd, ' ', out)) return false;
    undoEscapes(out, from);
    return true;
}

}  // namespace xml

}  // namespace mimetree::inner
