// SPDX-License-Identifier: Apache-2.0
#pragma once

// The search for delimiters in a text and its slices.  One pass over the text lists where runs
// of dashes end, as far as the searches have come, and all of them walk that list: those of one
// multipart and of all that are nested in it.  Limit: a text that is full of dashes, or of
// levels, is searched plainly instead, and once that has cost many times the text, what is
// left of the text is indexed.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "foundation/bytes/GrowArray.h"
#include "mime/parse/delimiter_index.h"

namespace mimetree::inner {

class DelimiterSearch {
public:
    DelimiterSearch(const char* begin, const char* end);

    // First occurrence wholly within [from, to), or null.  Parts are cut front to back, so
    // `from` does not go back; where it does, the slice is searched plainly.
    const char* find(std::string_view delimiter, const char* from, const char* to);

private:
    const char* walk(std::string_view delimiter, size_t dashes, const char* from, const char* to);
    void skipRuns(const char* from);
    bool listRun(const char* to);
    bool mayScan() const;
    const char* scan(std::string_view delimiter, const char* from, const char* to);
    const char* findRespaced(std::string_view delimiter, const char* from, const char* to);
    const DelimiterIndex* indexOf(std::unique_ptr<DelimiterIndex>& index,
                                  DelimiterIndex::Anchor anchor, unsigned context);

    const char* const m_begin;
    const char* const m_end;
    const char* m_from;          // of the last search
    const char* m_listed;        // the runs in front of it are listed
    GrowArray<uint32_t> m_runs;  // where they end
    unsigned m_next = 0;         // the first that is not behind m_from
    bool m_isLongWalk = false;   // the list has been given up
    bool m_hasNoMemory = false;
    uint64_t m_steps = 0;    // how far the list was walked
    uint64_t m_scanned = 0;  // how much was searched plainly
    std::unique_ptr<DelimiterIndex> m_index;
    std::unique_ptr<DelimiterIndex> m_respaced[5];  // by context: 0, 1, 2, 4 and 8 bytes
};

}  // namespace mimetree::inner
