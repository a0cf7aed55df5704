// SPDX-License-Identifier: Apache-2.0

// Puts tokens in place of the quoted parts of a parameter list.  The node reads the
// Content-Disposition field through it, so that it can drop blanks and split at ";" without
// touching what stands in quotes.

#include "foundation/ParamString.h"

#include <cstring>
#include <new>

#include "foundation/bytes/MemoryWatch.h"
#include "foundation/bytes/bytes.h"

using namespace mimetree::inner;

namespace {

unsigned sizeOf(const char* begin, const char* end) { return static_cast<unsigned>(end - begin); }

const char* findQuote(const char* p, const char* end) {
    const void* quote = std::memchr(p, '"', static_cast<size_t>(end - p));
    return quote ? static_cast<const char*>(quote) : end;
}

// Finds where quoted parts end: each at the first quote without a backslash.
// Tolerated: Windows paths.  In "C:\temp\"; the second quote closes, since a ";" or the end
// follows, when the next plain quote is missing or opens another value.  HeaderParams reads
// such values alike.
class ClosingQuotes {
public:
    ClosingQuotes(const char* text, const char* end) : m_plain(text), m_end(end) {}

    // The quote that closes the part whose text starts at `p`; the end when none does.
    const char* find(const char* p) {
        moveToPlainQuote(p);
        if (m_plain != m_end && !m_plainOpens) return m_plain;
        const char* quote = findQuote(p, m_plain);
        while (quote != m_plain && !endsParameter(quote + 1)) quote = findQuote(quote + 1, m_plain);
        return quote;
    }

private:
    // Only forward, so that all calls together read the text once, and back to a "=" as well.
    void moveToPlainQuote(const char* p) {
        if (m_plain >= p && m_found) return;
        m_found = true;
        m_plain = findQuote(p, m_end);
        while (m_plain != m_end && m_plain[-1] == '\\') m_plain = findQuote(m_plain + 1, m_end);
        m_plainOpens = m_plain != m_end && isBehindEqualsSign(m_plain);
    }

    static bool isBehindEqualsSign(const char* quote) {
        do --quote;
        while (bytes::isSpace(*quote));
        return *quote == '=';
    }

    bool endsParameter(const char* p) const {
        while (p != m_end && bytes::isSpace(*p)) ++p;
        return p == m_end || *p == ';';
    }

    const char* m_plain;  // the first quote without a backslash behind the last part's start
    const char* const m_end;
    bool m_found = false;
    bool m_plainOpens = false;  // a value, as it stands behind a "="
};

// Every other backslash stands for itself.
void appendUnescaped(const char* p, const char* end, StringBuffer& out) {
    while (p != end) {
        const char* quote = findQuote(p, end);
        out.appendN(p, sizeOf(p, quote) - (quote != end ? 1 : 0));
        if (quote != end) out.appendChar(*quote++);
        p = quote;
    }
}

}  // namespace

bool ParamString::holds(const char* p) const {
    for (int i = 0; i < m_quoted.getSize(); ++i)
        if (m_quoted.elementAt(i)->owns(p)) return true;
    return m_text.owns(p);
}

void ParamString::setString(const char* text, bool) {
    StringBuffer copy;
    if (holds(text)) {
        copy.setString(text);
        text = copy.getString();
    }
    m_text.clear();
    m_quoted.removeAllSbs();
    if (!text) return;
    const char* const end = text + std::strlen(text);
    ClosingQuotes closing(text, end);
    for (const char* p = text; p != end;) {
        const char* const open = findQuote(p, end);
        m_text.appendN(p, sizeOf(p, open));
        if (open == end) return;

        const char* const close = closing.find(open + 1);
        StringBuffer* part = notingRefusal(new (std::nothrow) StringBuffer);
        if (part) appendUnescaped(open + 1, close, *part);
        if (!part || !m_quoted.appendSb(part)) {
            delete part;
            return;
        }
        m_text.append("<[[");
        m_text.append(m_quoted.getSize() - 1);
        m_text.append("]]>");
        p = close == end ? end : close + 1;
    }
}

const char* ParamString::getParam(int index) const {
    const StringBuffer* part = m_quoted.elementAt(index);
    return part ? part->getString() : "";
}
