// SPDX-License-Identifier: Apache-2.0

// Uudecoding, which has no RFC; POSIX describes it under uuencode.  Called where a body is
// set or an attachment is unpacked.  A line is a character for the number of its bytes, then
// four characters for every three of them; each character stands for 6 bits.

#include "foundation/Uu.h"

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

// Cuts text into lines that end in LF or CR, which are not part of them.  A CRLF so ends two
// lines, of which the second is empty and says nothing.
class LineReader {
public:
    LineReader(const char* p, size_t n) : m_p(p), m_end(p + n) {}

    bool next(Line& line) {
        if (m_p == m_end) return false;
        line.p = m_p;
        while (m_p != m_end && *m_p != '\r' && *m_p != '\n') ++m_p;
        line.end = m_p;
        if (m_p != m_end) ++m_p;
        return true;
    }
    const char* rest() const { return m_p; }
    size_t restSize() const { return static_cast<size_t>(m_end - m_p); }

private:
    const char* m_p;
    const char* m_end;
};

// "begin 644 name": the access rights are three or four octal digits.
bool isBeginLine(const Line& line) {
    if (line.size() < 6 || std::memcmp(line.p, "begin ", 6) != 0) return false;
    const char* const digits = line.p + 6;
    const char* p = digits;
    while (p != line.end && *p >= '0' && *p <= '7') ++p;
    return (p - digits == 3 || p - digits == 4) && line.end - p >= 2 && *p == ' ';
}

// Tolerated: blanks behind the word.
bool isEndLine(const Line& line) {
    if (line.size() < 3 || std::memcmp(line.p, "end", 3) != 0) return false;
    const char* p = line.p + 3;
    while (p != line.end && bytes::isBlank(*p)) ++p;
    return p == line.end;
}

// Blank and "`" are both zero.
unsigned valueOf(char c) { return (static_cast<unsigned char>(c) - 32U) & 63; }

class LineDecoder {
public:
    explicit LineDecoder(unsigned char* out) : m_out(out) {}

    // Tolerated: lines whose blanks at the end were cut off; they are zeros.
    // Limit: such zeros are given while the output is no longer than the text up to here,
    // `textSize`; lines of one character would grow thirtyfold otherwise.  Bytes that a line
    // does hold always fit, being fewer than its characters.
    void decode(const Line& line, size_t textSize) {
        if (line.size() == 0) return;
        const size_t wanted = valueOf(*line.p);
        const size_t room = textSize - m_size;
        const size_t n = wanted < room ? wanted : room;
        for (size_t i = 0; i < n; ++i) m_out[m_size++] = byteAt(line, i);
    }
    size_t size() const { return m_size; }

private:
    // Byte `i` of the line lies in the characters i / 3 * 4 + i % 3 and the one behind.
    static unsigned char byteAt(const Line& line, size_t i) {
        const size_t at = 1 + i / 3 * 4 + i % 3;
        const unsigned pair = charAt(line, at) << 6 | charAt(line, at + 1);
        return static_cast<unsigned char>(pair >> (4 - 2 * (i % 3)));
    }
    static unsigned charAt(const Line& line, size_t i) {
        return i < line.size() ? valueOf(line.p[i]) : 0;
    }

    unsigned char* m_out;
    size_t m_size = 0;
};

bool skipToData(LineReader& lines) {
    Line line;
    while (lines.next(line))
        if (isBeginLine(line)) return true;
    return false;
}

bool decodeText(const char* text, size_t size, DataBuffer& out, LogBase& log) {
    LineReader lines(text, size);
    if (!skipToData(lines)) {
        log.logError("Uuencoded text has no begin line");
        return false;
    }
    const char* const dataStart = lines.rest();
    const size_t room = lines.restSize();
    if (room == 0) return true;
    unsigned char* const to = room > UINT32_MAX ? nullptr : out.extend(static_cast<unsigned>(room));
    if (to == nullptr) return false;

    LineDecoder decoder(to);
    for (Line line; lines.next(line) && !isEndLine(line);)
        decoder.decode(line, static_cast<size_t>(lines.rest() - dataStart));
    out.shorten(static_cast<unsigned>(room - decoder.size()));
    out.shrinkToFit();
    return true;
}

}  // namespace

bool Uu::uu_decode(const StringBuffer& text, DataBuffer& out, LogBase& log) {
    return decodeText(text.getString(), text.getSize(), out, log);
}

bool Uu::uu_decode2(const char* text, bool, DataBuffer& out, LogBase& log) {
    if (!text) return false;
    if (!out.owns(text)) return decodeText(text, std::strlen(text), out, log);
    DataBuffer apart;  // growing would move the text
    return decodeText(text, std::strlen(text), apart, log) && out.append(apart);
}
