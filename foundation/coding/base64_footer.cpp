// SPDX-License-Identifier: Apache-2.0

// Tells base64 from plain text that was appended to it.  Decoders skip what is not in the
// alphabet (RFC 2045 6.8), so that such text would come out as junk.  Called by
// ContentCoding.cpp before it decodes; ordinary bodies are looked at in their last line only.

#include "foundation/coding/base64_footer.h"

#include <cstring>

#include "foundation/bytes/ByteSet.h"

namespace mimetree::inner::base64 {
namespace {

constexpr ByteSet kLower = ByteSet("").range('a', 'z');
constexpr ByteSet kLetter = ByteSet("").range('a', 'z').range('A', 'Z');
constexpr ByteSet kDigits = ByteSet("+/").range('A', 'Z').range('a', 'z').range('0', '9');

// Also what ends a file where it is told so by a byte.
bool isWhite(char c) { return (c >= '\t' && c <= '\r') || c == ' ' || c == '\x1A' || c == '\0'; }

const char* skipWhite(const char* p, const char* end) {
    while (p != end && isWhite(*p)) ++p;
    return p;
}

const char* trimBack(const char* begin, const char* end) {
    while (end != begin && isWhite(end[-1])) --end;
    return end;
}

// What a line without white space around it is made of.
struct Line {
    size_t coded = 0;    // characters of the alphabet,
    size_t natural = 0;  // of these, in words such as prose has: "Word" or "word"
    size_t padding = 0;
    size_t strangers = 0;  // neither, nor white
    bool hasGap = false;   // white space inside

    Line(const char* p, const char* end) {
        while (p != end) {
            if (kLetter.has(*p)) takeWord(p, end);
            else takeOther(*p++);
        }
    }

    bool isPure() const { return strangers == 0 && !hasGap && coded != 0; }
    bool isWhole() const { return (coded + padding) % 4 == 0; }
    bool isNatural() const { return natural * 2 > coded; }

    // Limit: few letters that make whole groups may be damaged base64 as well.
    bool isProse() const {
        if (strangers > coded && strangers > 1) return true;
        return isNatural() && (!isWhole() || natural >= 8);
    }

private:
    void takeWord(const char*& p, const char* end) {
        const char* const start = p++;
        while (p != end && kLower.has(*p)) ++p;
        const bool isWord = p - start > 1 && (p == end || !kLetter.has(*p));
        while (p != end && kLetter.has(*p)) ++p;
        coded += static_cast<size_t>(p - start);
        if (isWord) natural += static_cast<size_t>(p - start);
    }
    void takeOther(char c) {
        if (c == '=') ++padding;
        else if (isWhite(c)) hasGap = true;
        else if (kDigits.has(c)) ++coded;
        else ++strangers;
    }
};

// A line behind padding: text, or another encoding that was joined.
// Tolerated: white space of any kind, which never makes text.
bool isText(const Line& line, bool isGlued, bool isLast) {
    if (line.strangers != 0) return true;
    if (isGlued || line.padding != 0) return false;
    // Words in capitals look like base64 but for their length.
    return line.isNatural() || (isLast && !line.isWhole());
}

// Where text begins behind some padding, or `end`.
const char* textBehindPadding(const char* p, const char* end) {
    while ((p = static_cast<const char*>(std::memchr(p, '=', static_cast<size_t>(end - p))))) {
        while (p != end && (*p == '=' || isWhite(*p))) ++p;
        const char* const line = p;
        while (p != end && *p != '\r' && *p != '\n') ++p;
        const bool isLast = skipWhite(p, end) == end;
        p = trimBack(line, p);
        if (p == line) return end;
        if (isText(Line(line, p), line[-1] == '=', isLast)) return line;
        if (p[-1] == '=') --p;
    }
    return end;
}

const char* startOfLine(const char* begin, const char* p) {
    while (p != begin && p[-1] != '\r' && p[-1] != '\n') --p;
    return p;
}

// Where prose begins in the last lines, or `end`.  It ends, upwards, at a line of base64.  One
// short word alone is no prose, since such words are base64, too.
const char* proseAtEnd(const char* begin, const char* end) {
    const char* footer = end;
    for (const char* stop = trimBack(begin, end); stop != begin;) {
        const char* const start = startOfLine(begin, stop);
        if (start == begin && footer == end) return end;  // nothing stands in front
        const Line line(skipWhite(start, stop), stop);
        const bool isWord = line.isPure() && line.natural == line.coded && !line.isWhole();
        if (line.isPure() && !isWord) return footer;
        if (line.isProse() && start == begin) return end;
        if (line.isProse() && (!isWord || footer != end || line.natural >= 5)) footer = start;
        stop = trimBack(begin, start);
    }
    return footer;
}

}  // namespace

size_t sizeWithoutFooter(const char* text, size_t size) {
    if (size == 0) return 0;
    const char* const end = text + size;
    const char* const footer = textBehindPadding(text, end);
    return static_cast<size_t>((footer != end ? footer : proseAtEnd(text, end)) - text);
}

}  // namespace mimetree::inner::base64
