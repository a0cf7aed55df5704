// SPDX-License-Identifier: Apache-2.0

// The log that keeps its lines.

#include "foundation/LogText.h"

#include <initializer_list>

namespace {

// Limit: contexts nest as deep as the message does; deeper lines are not indented further,
// or the text would grow with the square of the depth.
constexpr unsigned kMaxIndentLevels = 32;

// Bytes of a character that is no text within a line: a control but the tab (C1 in UTF-8), or
// U+2028, U+2029; 0 for any other.
unsigned sizeOfControl(const char* p) {
    const auto byte = [p](unsigned i) { return static_cast<unsigned char>(p[i]); };
    if (byte(0) < ' ' || byte(0) == 0x7F) return byte(0) == '\t' ? 0 : 1;
    if (byte(0) == 0xC2) return byte(1) >= 0x80 && byte(1) < 0xA0 ? 2 : 0;
    if (byte(0) != 0xE2 || byte(1) != 0x80) return 0;
    return byte(2) == 0xA8 || byte(2) == 0xA9 ? 3 : 0;
}

void appendEscaped(const char* text, StringBuffer& out) {
    if (!text) return;
    const char* plain = text;
    while (*text) {
        unsigned size = sizeOfControl(text);
        if (size == 0) {
            ++text;
            continue;
        }
        out.appendN(plain, static_cast<unsigned>(text - plain));
        for (; size > 0; --size, ++text) {
            const unsigned byte = static_cast<unsigned char>(*text);
            out.append("\\x");
            out.appendChar("0123456789ABCDEF"[byte >> 4]);
            out.appendChar("0123456789ABCDEF"[byte & 15]);
        }
        plain = text;
    }
    out.appendN(plain, static_cast<unsigned>(text - plain));
}

}  // namespace

// Values come from mail: what would start another line, or do something to a terminal, is
// spelt out.  The text may be that of the log, so the line is made apart.
void LogText::line(const char* a, const char* b, const char* c) {
    StringBuffer line;
    line.appendCharN(' ', 2 * (m_depth < kMaxIndentLevels ? m_depth : kMaxIndentLevels));
    for (const char* text : {a, b, c}) appendEscaped(text, line);
    line.appendChar('\n');
    m_text.append(line);
    if (line.failed()) m_text.markFailed();
}

void LogText::logError(const char* text) { line("ERROR: ", text, ""); }

void LogText::logInfo(const char* text) { line(text, "", ""); }

void LogText::enterContext(const char* name, bool) {
    line(name, ":", "");
    ++m_depth;
}

void LogText::leaveContext() {
    if (m_depth) --m_depth;
}

void LogText::logData(const char* name, const char* value) { line(name, ": ", value); }

void LogText::clear() { m_text.clear(); }
