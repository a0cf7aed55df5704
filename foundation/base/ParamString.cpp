// SPDX-License-Identifier: Apache-2.0

// Puts tokens in place of the quoted parts of a parameter list, so that it can be split at ";"
// without touching what stands in quotes.

#include "foundation/ParamString.h"

#include <cstring>

#include "foundation/base/quoted_parts.h"

using namespace mimetree::inner;

bool ParamString::holds(const char* p) const { return m_text.owns(p) || m_parts.owns(p); }

void ParamString::setString(const char* text, bool) {
    StringBuffer copy;
    if (holds(text)) {
        copy.setString(text);
        text = copy.getString();
    }
    m_text.clear();
    m_parts.clear();
    m_starts.clear();
    if (!text) return;
    const char* const end = text + std::strlen(text);
    ClosingQuotes closing(text, end);
    for (const char* p = text; p != end;) {
        const char* const open = findQuote(p, end);
        m_text.appendN(p, static_cast<unsigned>(open - p));
        if (open == end) return;

        const char* const close = closing.find(open + 1);
        const unsigned start = m_parts.getSize();
        if (!m_starts.append(&start, sizeof start)) return;
        appendQuotedPart(open + 1, close, m_parts);
        m_parts.appendChar('\0');
        appendPartToken(static_cast<int>(m_starts.getSize() / sizeof start) - 1, m_text);
        p = close == end ? end : close + 1;
    }
}

const char* ParamString::getParam(int index) const {
    unsigned start = 0;
    const size_t at = static_cast<size_t>(index) * sizeof start;
    if (index < 0 || at >= m_starts.getSize() || m_parts.failed()) return "";
    std::memcpy(&start, m_starts.getData2() + at, sizeof start);
    return m_parts.getString() + start;
}
