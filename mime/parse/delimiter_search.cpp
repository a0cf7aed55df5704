// SPDX-License-Identifier: Apache-2.0

// Searching for delimiters: by a list of candidates, and by an index where that would be slow.
// source_text.h hands each search on to here.

#include "mime/parse/delimiter_search.h"

#include <bit>
#include <cstring>
#include <new>

#include "foundation/bytes/MemoryWatch.h"
#include "foundation/bytes/bytes.h"

namespace mimetree::inner {

namespace {

// Limit: how often the text may be searched over plainly before an index is made.
constexpr uint64_t kPlainSearches = 16;

size_t leadingDashes(std::string_view text) {
    const size_t other = text.find_first_not_of('-');
    return other < text.size() ? other : text.size();
}

// Boundaries of one mail begin alike, and differ at their ends.
bool isAt(const char* p, std::string_view delimiter) {
    const size_t n = delimiter.size();
    uint32_t found = 0, sought = 0;
    if (n >= sizeof found) {
        std::memcpy(&found, p + n - sizeof found, sizeof found);
        std::memcpy(&sought, delimiter.data() + n - sizeof found, sizeof found);
    }
    return found == sought && std::memcmp(p, delimiter.data(), n) == 0;
}

const char* findPlainly(std::string_view delimiter, const char* from, const char* to) {
    return bytes::find(from, static_cast<size_t>(to - from), delimiter.data(), delimiter.size());
}

// A run of so many dashes covers one of the places that lie that far apart; only there is
// looked, backwards.
const char* findDashes(size_t count, const char* from, const char* to) {
    while (static_cast<size_t>(to - from) >= count) {
        const char* start = from + count;
        while (start != from && start[-1] == '-') --start;
        if (start == from) return from;
        from = start;
    }
    return nullptr;
}

}  // namespace

DelimiterSearch::DelimiterSearch(const char* begin, const char* end)
    : m_begin(begin), m_end(end), m_from(begin), m_listed(begin) {}

const char* DelimiterSearch::find(std::string_view delimiter, const char* from, const char* to) {
    if (static_cast<size_t>(to - from) < delimiter.size()) return nullptr;
    const size_t dashes = leadingDashes(delimiter);
    if (dashes == delimiter.size()) return findDashes(dashes, from, to);
    if (from < m_from) return findPlainly(delimiter, from, to);
    m_from = from;
    if (isAt(from, delimiter)) return from;  // as the first one of a multipart mostly is
    if (dashes < 2) return findRespaced(delimiter, from, to);
    if (!m_isLongWalk) {
        const char* const hit = walk(delimiter, dashes, from, to);
        if (!m_isLongWalk) return hit;
        m_runs.clear();
    }
    if (mayScan()) return scan(delimiter, from, to);
    const DelimiterIndex* const index = indexOf(m_index, DelimiterIndex::Anchor::Dashes, 0);
    return index ? index->find(delimiter, from, to) : findPlainly(delimiter, from, to);
}

// -- The plain search

bool DelimiterSearch::mayScan() const {
    return m_scanned <= kPlainSearches * (static_cast<uint64_t>(m_end - m_begin) + 4096);
}

const char* DelimiterSearch::scan(std::string_view delimiter, const char* from, const char* to) {
    const char* const hit = findPlainly(delimiter, from, to);
    m_scanned += static_cast<uint64_t>((hit ? hit : to) - from);
    return hit;
}

// -- The list

const char* DelimiterSearch::walk(std::string_view delimiter, size_t dashes, const char* from,
                                  const char* to) {
    const uint64_t allowed = static_cast<uint64_t>(m_end - m_begin) / 4 + 16384;
    const auto first = from - m_begin;
    const auto last = to - m_begin - static_cast<ptrdiff_t>(delimiter.size());
    skipRuns(from);
    for (unsigned i = m_next; i < m_runs.size() || listRun(to); ++i) {
        const auto at = static_cast<ptrdiff_t>(m_runs[i]) - static_cast<ptrdiff_t>(dashes);
        if (at > last) break;
        if (at >= first && isAt(m_begin + at, delimiter)) return m_begin + at;
        m_steps += 1 + delimiter.size() / 64;
        if (m_steps > allowed) m_isLongWalk = true;
        if (m_isLongWalk) break;
    }
    return nullptr;
}

void DelimiterSearch::skipRuns(const char* from) {
    while (m_next < m_runs.size() && m_begin + m_runs[m_next] <= from) ++m_next;
    if (m_next < m_runs.size()) return;
    m_runs.truncate(0);
    m_next = 0;
    if (m_listed < from) m_listed = from;
}

// Adds the next run that begins in front of `to`.  A run that reaches beyond is listed whole.
// Limit: the list takes a quarter of the text at most.
bool DelimiterSearch::listRun(const char* to) {
    if (to - m_listed < 2) return false;
    const char* run = bytes::findPair(m_listed, static_cast<size_t>(to - m_listed), '-');
    if (!run) {
        m_listed = to - 1;
        return false;
    }
    while (run != m_end && *run == '-') ++run;
    m_listed = run;
    const bool isListed = m_runs.size() < static_cast<size_t>(m_end - m_begin) / 16 + 1024 &&
                          m_runs.push(static_cast<uint32_t>(run - m_begin));
    if (!isListed) m_isLongWalk = true;
    return isListed;
}

// -- The index

// Null when memory is exhausted.
const DelimiterIndex* DelimiterSearch::indexOf(std::unique_ptr<DelimiterIndex>& index,
                                               DelimiterIndex::Anchor anchor, unsigned context) {
    if (index || m_hasNoMemory) return index.get();
    index.reset(notingRefusal(new (std::nothrow) DelimiterIndex(anchor, context, m_from, m_end)));
    if (index && !index->build()) index.reset();
    m_hasNoMemory = !index;
    return index.get();
}

// These stand behind no dashes.  What is in front of "=_alternative " may begin anywhere in a
// line; an index takes account of as many bytes of it as fit one of a few lengths.
const char* DelimiterSearch::findRespaced(std::string_view delimiter, const char* from,
                                          const char* to) {
    const size_t anchor = delimiter.find(DelimiterIndex::kRespaced);
    if (!mayScan() && anchor != std::string_view::npos) {
        const unsigned slot = anchor >= 8 ? 4 : static_cast<unsigned>(std::bit_width(anchor));
        const unsigned context = slot ? 1u << (slot - 1) : 0;
        if (const DelimiterIndex* const index =
                indexOf(m_respaced[slot], DelimiterIndex::Anchor::Respaced, context))
            return index->find(delimiter, from, to);
    }
    return scan(delimiter, from, to);
}

}  // namespace mimetree::inner
