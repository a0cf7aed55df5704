// SPDX-License-Identifier: Apache-2.0
#pragma once

// The double-quoted parts of a parameter list, for ParamString and for the node's reader of
// Content-Disposition, which must find the same ones.

#include <cstring>

#include "foundation/StringBuffer.h"
#include "foundation/bytes/bytes.h"

namespace mimetree::inner {

inline const char* findQuote(const char* p, const char* end) {
    const void* quote = std::memchr(p, '"', static_cast<size_t>(end - p));
    return quote ? static_cast<const char*>(quote) : end;
}

constexpr char kPartToken[] = "<[[";

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

// Appends a part.  Every backslash but that before a quote stands for itself.
inline void appendQuotedPart(const char* p, const char* end, StringBuffer& out) {
    while (p != end) {
        const char* quote = findQuote(p, end);
        out.appendN(p, static_cast<unsigned>(quote - p) - (quote != end ? 1 : 0));
        if (quote != end) out.appendChar(*quote++);
        p = quote;
    }
}

// Appends what stands in place of a part.
inline void appendPartToken(int index, StringBuffer& out) {
    out.append(kPartToken);
    out.append(index);
    out.append("]]>");
}

}  // namespace mimetree::inner
