// SPDX-License-Identifier: Apache-2.0
#pragma once

// The text that a load cuts into parts, with what was found out about it.  Parts are slices
// of one text, nested and side by side, and each asks the same questions: where does this
// pattern, where does that delimiter occur next?  Answered by a search of the slice each
// time, a message nested n deep would be searched n times over.

#include "foundation/bytes/GrowArray.h"

#include <cstddef>
#include <cstdint>

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
    SourceText(const char* begin, const char* end) : m_begin(begin), m_end(end) {}
    SourceText(const SourceText&) = delete;
    SourceText& operator=(const SourceText&) = delete;
    ~SourceText();

    // First occurrence of the pattern wholly within [from, to), or null.  Parts are loaded
    // front to back, so the next occurrence in the whole text, once found, answers all
    // questions from in front of it.  A text without CRs is not searched for those with one.
    const char* find(Break pattern, const char* from, const char* to);

    // First occurrence of needle[0, size) wholly within [from, to), or null.
    const char* findDelimiter(const char* needle, unsigned size, const char* from, const char* to);

private:
    struct NextBreak {
        const char* from = nullptr;  // from here on ...
        const char* hit = nullptr;   // ... this is the first; m_end when there is none
    };
    class Index;

    bool mayScan(size_t bytes);
    Index* indexFor(const char* needle, unsigned size);
    void dropIndexes();

    const char* const m_begin;
    const char* const m_end;
    NextBreak m_next[static_cast<unsigned>(Break::kCount)];
    uint64_t m_scanned = 0;
    size_t m_indexed = 0;  // entries in all indexes
    GrowArray<Index*> m_indexes;
};

}  // namespace mimetree::inner
