// SPDX-License-Identifier: Apache-2.0
#pragma once

// The text that a load cuts into parts, with what was found out about it.  Parts are slices
// of one text, nested and side by side, and each asks the same questions: where does this
// pattern, where does that delimiter occur next?  Answered by a search of the slice each
// time, a message nested n deep would be searched n times over.

#include <string_view>

#include "mime/parse/delimiter_search.h"

namespace mimetree::inner {

// The patterns that a search for the end of a header asks for.
enum class Break { Cr, CrlfCrlf, CrCr, LfLf, CrlfCrCrlf, CrlfCr, LfCrlf, kCount };

struct BreakText {
    const char* text;
    unsigned size;
};
BreakText textOf(Break pattern);

class SourceText {
public:
    SourceText(const char* begin, const char* end) : m_delimiters(begin, end) {}
    SourceText(const SourceText&) = delete;
    SourceText& operator=(const SourceText&) = delete;

    // First occurrence of the pattern wholly within [from, to), or null.  Parts are loaded
    // front to back, so that what was searched once need not be searched again.  A text without
    // CRs is not searched for patterns with one.
    const char* find(Break pattern, const char* from, const char* to);

    // First occurrence of "--" boundary and what ends its line, or of another such text.
    const char* findDelimiter(std::string_view delimiter, const char* from, const char* to) {
        return m_delimiters.find(delimiter, from, to);
    }

private:
    // Of [from, to): where the pattern first stands.  Behind that nothing is known.
    struct Searched {
        const char* from = nullptr;
        const char* to = nullptr;
        const char* hit = nullptr;
    };

    Searched m_searched[static_cast<unsigned>(Break::kCount)];
    DelimiterSearch m_delimiters;
};

}  // namespace mimetree::inner
