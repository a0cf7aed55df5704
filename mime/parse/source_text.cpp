// SPDX-License-Identifier: Apache-2.0

// Searching the text of a load for the breaks that end headers.

#include "mime/parse/source_text.h"

#include "foundation/bytes/bytes.h"

namespace mimetree::inner {

BreakText textOf(Break pattern) {
    static constexpr BreakText kTexts[] = {{"\r", 1},    {"\r\n\r\n", 4},   {"\r\r", 2},
                                           {"\n\n", 2},  {"\r\n\r\r\n", 5}, {"\r\n\r", 3},
                                           {"\n\r\n", 3}};
    return kTexts[static_cast<unsigned>(pattern)];
}

// No further than asked: the body behind a header may be long.
const char* SourceText::find(Break pattern, const char* from, const char* to) {
    const BreakText sought = textOf(pattern);
    Searched& known = m_searched[static_cast<unsigned>(pattern)];
    const bool needsCr = pattern != Break::Cr && pattern != Break::LfLf;
    if (needsCr && !find(Break::Cr, from, to)) return nullptr;
    const bool goesOn =
        known.from && known.from <= from && from <= (known.hit ? known.hit : known.to);
    if (!goesOn) known = Searched{from, from, nullptr};
    known.from = from;
    if (!known.hit && known.to < to) {
        // The pattern may begin in front of the place up to which it was searched for.
        const bool isBehind = known.to - from >= static_cast<ptrdiff_t>(sought.size);
        const char* const start = isBehind ? known.to - sought.size + 1 : from;
        known.hit = bytes::find(start, static_cast<size_t>(to - start), sought.text, sought.size);
        known.to = to;
    }
    const bool isWithin = known.hit && known.hit < to && to - known.hit >= static_cast<ptrdiff_t>(sought.size);
    return isWithin ? known.hit : nullptr;
}

}  // namespace mimetree::inner
