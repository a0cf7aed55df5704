// SPDX-License-Identifier: Apache-2.0

// Searching the text of a load.  Delimiters are searched for plainly until that has cost
// many times the text, which ordinary mail never does; from then on by an index.

#include "mime/parse/source_text.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "foundation/bytes/MemoryWatch.h"
#include "foundation/bytes/bytes.h"

namespace mimetree::inner {

namespace {

// Limit: how often the text may be searched over before delimiters are indexed.
constexpr uint64_t kPlainSearches = 32;

// The hash of text from which nobody outside the process can make two texts collide at will.
uint64_t seededHash(const char* p, unsigned n) {
    static const int anchor = 0;
    uint64_t hash = reinterpret_cast<uintptr_t>(&anchor) * 0x9E3779B97F4A7C15u;
    for (unsigned i = 0; i < n; ++i) {
        hash = (hash ^ static_cast<unsigned char>(p[i])) * 0xD6E8FEB86659FD93u;
        hash ^= hash >> 32;
    }
    return hash;
}

}  // namespace

BreakText textOf(Break pattern) {
    static constexpr BreakText kTexts[] = {{"\r", 1},    {"\r\n\r\n", 4},   {"\r\r", 2},
                                           {"\n\n", 2},  {"\r\n\r\r\n", 5}, {"\r\n\r", 3},
                                           {"\n\r\n", 3}};
    return kTexts[static_cast<unsigned>(pattern)];
}

const char* SourceText::find(Break pattern, const char* from, const char* to) {
    const BreakText sought = textOf(pattern);
    NextBreak& next = m_next[static_cast<unsigned>(pattern)];
    const bool needsCr = pattern != Break::Cr && pattern != Break::LfLf;
    if (needsCr && !find(Break::Cr, from, to)) return nullptr;
    const bool known = next.from && next.from <= from && from <= next.hit;
    if (!known) {
        const char* hit =
            bytes::find(from, static_cast<size_t>(m_end - from), sought.text, sought.size);
        next = NextBreak{from, hit ? hit : m_end};
    }
    const bool isWithin = next.hit != m_end && next.hit < to && to - next.hit >= sought.size;
    return isWithin ? next.hit : nullptr;
}

// The places of all texts of one length that begin with "--" and end with the same two bytes,
// as (hash of the text, place), sorted.
class SourceText::Index {
public:
    Index(const char* needle, unsigned size) : m_size(size) {
        std::memcpy(m_tail, needle + size - 2, 2);
    }

    bool suits(const char* needle, unsigned size) const {
        return size == m_size && std::memcmp(m_tail, needle + size - 2, 2) == 0;
    }

    unsigned numPlaces() const { return m_places.size(); }

    bool build(const char* begin, const char* end) {
        for (const char* p = begin; end - p >= static_cast<ptrdiff_t>(m_size); ++p) {
            p = bytes::find(p, static_cast<size_t>(end - p) - m_size + 2, "--", 2);
            if (!p) break;
            if (std::memcmp(p + m_size - 2, m_tail, 2) != 0) continue;
            if (!m_places.push(entry(hashOf(p), static_cast<uint64_t>(p - begin)))) return false;
        }
        std::sort(m_places.begin(), m_places.end());
        return true;
    }

    const char* find(const char* needle, const char* begin, const char* from,
                     const char* to) const {
        const uint64_t hash = hashOf(needle);
        const uint64_t* at = std::lower_bound(m_places.begin(), m_places.end(),
                                              entry(hash, static_cast<uint64_t>(from - begin)));
        for (; at != m_places.end() && *at >> 32 == hash; ++at) {
            const char* place = begin + (*at & 0xFFFFFFFFu);
            if (to - place < static_cast<ptrdiff_t>(m_size)) return nullptr;
            if (std::memcmp(place, needle, m_size) == 0) return place;
        }
        return nullptr;
    }

private:
    static uint64_t entry(uint64_t hash, uint64_t place) { return hash << 32 | place; }
    uint64_t hashOf(const char* p) const { return seededHash(p, m_size) >> 32; }

    unsigned m_size;
    char m_tail[2];
    GrowArray<uint64_t> m_places;
};

SourceText::~SourceText() { dropIndexes(); }

void SourceText::dropIndexes() {
    for (Index* index : m_indexes) delete index;
    m_indexes.truncate(0);
    m_indexed = 0;
}

bool SourceText::mayScan(size_t bytes) {
    const uint64_t allowed = kPlainSearches * (static_cast<uint64_t>(m_end - m_begin) + 4096);
    if (m_scanned + bytes > allowed) return false;
    m_scanned += bytes;
    return true;
}

// Null when memory is exhausted.  Limit: all indexes together have no more entries than the
// text has bytes; a text made to exceed that starts over with each.
SourceText::Index* SourceText::indexFor(const char* needle, unsigned size) {
    for (Index* index : m_indexes)
        if (index->suits(needle, size)) return index;
    if (m_indexed > static_cast<size_t>(m_end - m_begin)) dropIndexes();
    Index* made = notingRefusal(new (std::nothrow) Index(needle, size));
    if (!made || !made->build(m_begin, m_end) || !m_indexes.push(made)) {
        delete made;
        return nullptr;
    }
    m_indexed += made->numPlaces();
    return made;
}

const char* SourceText::findDelimiter(const char* needle, unsigned size, const char* from,
                                      const char* to) {
    const size_t slice = static_cast<size_t>(to - from);
    if (slice < size) return nullptr;
    const bool canIndex = size > 2 && needle[0] == '-' && needle[1] == '-';
    if (canIndex && !mayScan(size)) {
        if (Index* index = indexFor(needle, size)) return index->find(needle, m_begin, from, to);
    }
    const char* hit = bytes::find(from, slice, needle, size);
    m_scanned += hit ? static_cast<size_t>(hit - from) : slice;
    return hit;
}

}  // namespace mimetree::inner
