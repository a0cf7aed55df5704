// SPDX-License-Identifier: Apache-2.0

// The log that keeps its lines.

#include "foundation/LogText.h"

namespace {

// Limit: contexts nest as deep as the message does; deeper lines are not indented further,
// or the text would grow with the square of the depth.
constexpr unsigned kMaxIndentLevels = 32;

}  // namespace

void LogText::line(const char* a, const char* b, const char* c) {
    m_text.appendCharN(' ', 2 * (m_depth < kMaxIndentLevels ? m_depth : kMaxIndentLevels));
    m_text.append3(a, b, c);
    m_text.appendChar('\n');
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
