// SPDX-License-Identifier: Apache-2.0

// Uudecoding, which has no RFC; POSIX describes it under uuencode.  Called where a body is
// set or an attachment is unpacked.  A line is a character for the number of its bytes, then
// four characters for every three of them; each character stands for 6 bits.

#include "foundation/Uu.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "foundation/DataBuffer.h"
#include "foundation/LogBase.h"
#include "foundation/StringBuffer.h"
#include "foundation/bytes/bytes.h"

using namespace mimetree::inner;

namespace {

struct Line {
    const char* p;
    const char* end;

    size_t size() const { return static_cast<size_t>(end - p); }
};

// Cuts text into lines that end in CRLF, LF or CR, which are not part of them.
class LineReader {
public:
    LineReader(const char* p, size_t n) : m_p(p), m_end(p + n) {}

    bool next(Line& line) {
        if (m_p == m_end) return false;
        line.p = m_p;
        while (m_p != m_end && *m_p != '\r' && *m_p != '\n') ++m_p;
        line.end = m_p;
        if (m_end - m_p >= 2 && m_p[0] == '\r' && m_p[1] == '\n') ++m_p;
        if (m_p != m_end) ++m_p;
        return true;
    }
    const char* rest() const { return m_p; }

private:
    const char* m_p;
    const char* m_end;
};

const char* skipBlanks(const char* p, const char* end) {
    while (p != end && bytes::isBlank(*p)) ++p;
    return p;
}

bool isAt(const char* p, const char* end, const char* word, size_t size) {
    return static_cast<size_t>(end - p) >= size && std::memcmp(p, word, size) == 0;
}

// "begin 644 name", the access rights in octal.
// Tolerated: blanks in front, several in between, and no name.
bool isBeginLine(const Line& line) {
    const char* p = skipBlanks(line.p, line.end);
    if (!isAt(p, line.end, "begin", 5)) return false;
    p += 5;
    const char* const rights = skipBlanks(p, line.end);
    const char* behind = rights;
    while (behind != line.end && *behind >= '0' && *behind <= '7') ++behind;
    return rights != p && behind != rights && (behind == line.end || bytes::isBlank(*behind));
}

// Tolerated: blanks behind the word.
bool isEndLine(const Line& line) {
    return isAt(line.p, line.end, "end", 3) && skipBlanks(line.p + 3, line.end) == line.end;
}

// Blank and "`" are both zero.
unsigned valueOf(char c) { return (static_cast<unsigned char>(c) - 32U) & 63; }

// How many bytes the line says that it holds.
size_t announced(const Line& line) { return line.size() ? valueOf(*line.p) : 0; }

// Prose has letters that no encoded line has.
bool looksEncoded(const Line& line) {
    for (const char* p = line.p; p != line.end; ++p)
        if (*p < ' ' || *p > '`') return false;
    return line.size() != 0;
}

// Past the begin line.  Of several it is the first that data follow, since prose has such
// lines, too; else the first.
bool skipToData(LineReader& lines, Line& begin) {
    LineReader first = lines;
    bool isFound = false;
    for (Line line; lines.next(line);) {
        if (!isBeginLine(line)) continue;
        LineReader ahead = lines;
        Line data;
        const bool hasData = !ahead.next(data) || isEndLine(data) || looksEncoded(data);
        if (hasData || !isFound) begin = line;
        if (hasData) return true;
        if (!isFound) first = lines;
        isFound = true;
    }
    lines = first;
    return isFound;
}

// The next line with data; none behind a line of length zero, which ends them.
// Tolerated: empty lines in between; but one may have been a line of length zero, so that
// prose behind it is none of the data.
bool nextData(LineReader& lines, Line& line) {
    bool isBehindEmpty = false;
    while (lines.next(line)) {
        if (line.size() != 0)
            return announced(line) != 0 && !isEndLine(line) &&
                   (!isBehindEmpty || looksEncoded(line));
        isBehindEmpty = true;
    }
    return false;
}

unsigned charAt(const Line& line, size_t i) { return i < line.size() ? valueOf(line.p[i]) : 0; }

// Byte `i` of the line lies in the characters i / 3 * 4 + i % 3 and the one behind.
unsigned char byteAt(const Line& line, size_t i) {
    const size_t at = 1 + i / 3 * 4 + i % 3;
    const unsigned pair = charAt(line, at) << 6 | charAt(line, at + 1);
    return static_cast<unsigned char>(pair >> (4 - 2 * (i % 3)));
}

// Gives the size of the data, which are written unless `out` is null.
// Tolerated: lines whose blanks at the end were cut off; they are zeros.
// Limit: such zeros are given while the output is not longer by 64 KB than the text up to
// there; lines of one character would grow thirtyfold otherwise.  Bytes that a line does hold
// always fit, being fewer than its characters.
size_t decodeLines(LineReader lines, unsigned char* out, bool& isCut) {
    constexpr size_t kSpare = 64 * 1024;
    const char* const start = lines.rest();
    size_t size = 0;
    isCut = false;
    for (Line line; nextData(lines, line);) {
        const size_t room = static_cast<size_t>(lines.rest() - start) + kSpare - size;
        const size_t n = std::min(announced(line), room);
        isCut = isCut || n != announced(line);
        for (size_t i = 0; out && i < n; ++i) out[size + i] = byteAt(line, i);
        size += n;
    }
    return size;
}

bool decodeText(const char* text, size_t textSize, DataBuffer& out, LogBase& log) {
    LineReader lines(text, textSize);
    Line begin;
    if (!skipToData(lines, begin)) return false;
    bool isCut = false;
    const size_t size = decodeLines(lines, nullptr, isCut);
    if (size == 0) return true;
    unsigned char* const to = size > UINT32_MAX ? nullptr : out.extend(static_cast<unsigned>(size));
    if (to == nullptr) return false;
    decodeLines(lines, to, isCut);
    if (isCut) log.logError("Uuencoded lines are far shorter than they say.");
    return true;
}

}  // namespace

bool Uu::uu_decode(const StringBuffer& text, DataBuffer& out, LogBase& log) {
    return uu_decode(text.getString(), text.getSize(), out, log);
}

// Text within `out` would move when that grows.
bool Uu::uu_decode(const char* text, unsigned int size, DataBuffer& out, LogBase& log) {
    if (!out.owns(text)) return decodeText(text, size, out, log);
    DataBuffer apart;
    return decodeText(text, size, apart, log) && out.append(apart);
}

bool Uu::uu_name(const char* text, unsigned int size, StringBuffer& name) {
    LineReader lines(text, size);
    Line begin;
    if (!skipToData(lines, begin)) return false;
    const char* p = skipBlanks(skipBlanks(begin.p, begin.end) + 5, begin.end);
    while (p != begin.end && bytes::isDigit(*p)) ++p;
    p = skipBlanks(p, begin.end);
    while (p != begin.end && bytes::isBlank(begin.end[-1])) --begin.end;
    return name.appendN(p, static_cast<unsigned>(begin.end - p));
}

bool Uu::uu_decode2(const char* text, bool, DataBuffer& out, LogBase& log) {
    if (!text) return false;
    return uu_decode(text, static_cast<unsigned int>(std::strlen(text)), out, log);
}
