// SPDX-License-Identifier: Apache-2.0

// The index of delimiters: made once for what is left of a text, by delimiter_search.cpp.

#include "mime/parse/delimiter_index.h"

#include <algorithm>
#include <cstring>

#include "foundation/bytes/bytes.h"

namespace mimetree::inner {

namespace {

// A run of dashes is longer than that of a delimiter as often as not, since anything may stand
// in front of the delimiter; how long it is goes into the hash as a class only.  A search asks
// for all classes that may do.
constexpr unsigned kRunClasses = 4;
unsigned classOf(size_t dashes) { return dashes < 4 ? 0 : dashes < 16 ? 1 : dashes < 128 ? 2 : 3; }

// Where a piece ends: a class of runs, or one of these.
constexpr unsigned kLineEnd = kRunClasses, kTextEnd = kLineEnd + 1, kStops = kTextEnd + 1;

unsigned kindOf(unsigned run, unsigned stop) { return run * kStops + stop; }

size_t countDashes(const char* p, const char* end) {
    const char* const start = p;
    while (p != end && *p == '-') ++p;
    return static_cast<size_t>(p - start);
}

struct Stop {
    const char* at;
    unsigned kind;
    bool isWhole = true;  // false: the run reaches to the end and may be longer in a text
};

// Where the piece that begins at p ends.
Stop stopBehind(const char* p, const char* end) {
    for (; p != end; ++p) {
        if (*p == '\r' || *p == '\n') return {p, kLineEnd};
        if (*p != '-' || end - p < 2 || p[1] != '-') continue;
        const size_t dashes = countDashes(p, end);
        return {p, classOf(dashes), p + dashes != end};
    }
    return {p, kTextEnd};
}

// From outside the process nobody can make two texts collide at will.
uint64_t seededHash(const char* p, size_t n, uint64_t extra) {
    static const int anchor = 0;
    constexpr uint64_t kOdd = 0xD6E8FEB86659FD93u;
    uint64_t hash = (reinterpret_cast<uintptr_t>(&anchor) + n) * 0x9E3779B97F4A7C15u ^ extra;
    for (uint64_t word = 0; n > 0; word = 0) {
        const size_t taken = n < sizeof word ? n : sizeof word;
        std::memcpy(&word, p, taken);
        hash = (hash ^ word) * kOdd;
        hash ^= hash >> 32;
        p += taken;
        n -= taken;
    }
    return hash;
}

uint64_t withKind(uint64_t hash, unsigned kind) {
    hash = (hash ^ kind) * 0x9E3779B97F4A7C15u;
    return hash ^ hash >> 29;
}

}  // namespace

// A piece of a delimiter: its hash but for the kind, and the kinds that may do.
struct DelimiterIndex::Piece {
    size_t at = 0;  // where in the delimiter it begins, behind the anchor
    uint64_t hash = 0;
    unsigned run = 0, lastRun = 0;
    unsigned stop = 0, lastStop = 0;
    size_t next = 0;  // the run in which it ends, or the end of the delimiter
};

// -- The text

template <class Take>
void DelimiterIndex::eachRun(const Take& take) const {
    const char* p = m_begin;
    while ((p = bytes::findPair(p, static_cast<size_t>(m_end - p), '-'))) {
        const size_t dashes = countDashes(p, m_end);
        p += dashes;
        const Stop stop = stopBehind(p, m_end);
        if (stop.kind != kTextEnd)
            take(seededHash(p, static_cast<size_t>(stop.at - p), 0),
                 kindOf(classOf(dashes), stop.kind), p);
        p = stop.at;
    }
}

template <class Take>
void DelimiterIndex::eachRespaced(const Take& take) const {
    const char* p = m_begin;
    while (
        (p = bytes::find(p, static_cast<size_t>(m_end - p), kRespaced.data(), kRespaced.size()))) {
        const bool hasContext = p - m_begin >= static_cast<ptrdiff_t>(m_context);
        const uint64_t context = hasContext ? seededHash(p - m_context, m_context, 0) : 0;
        p += kRespaced.size();
        const Stop stop = stopBehind(p, m_end);
        if (hasContext) take(seededHash(p, static_cast<size_t>(stop.at - p), context), 0u, p);
    }
}

// Tells hash, kind and place of each candidate in the order of the text.
template <class Take>
void DelimiterIndex::eachPlace(const Take& take) const {
    if (m_anchor == Anchor::Dashes) eachRun(take);
    else eachRespaced(take);
}

bool DelimiterIndex::build() {
    unsigned count = 0, buckets = 1;
    eachPlace([&](uint64_t, unsigned kind, const char*) {
        ++count;
        m_kinds |= 1u << kind;
    });
    while (buckets < count / 16) buckets *= 2;
    if (!m_bucketEnds.fill(buckets, 0) || !m_places.fill(count, 0)) return false;
    const auto bucketOf = [&](uint64_t hash) -> uint32_t& {
        return m_bucketEnds[static_cast<uint32_t>(hash) & (buckets - 1)];
    };
    eachPlace([&](uint64_t hash, unsigned kind, const char*) { ++bucketOf(withKind(hash, kind)); });
    uint32_t start = 0;
    for (uint32_t& bucket : m_bucketEnds) {
        const uint32_t size = bucket;
        bucket = start;
        start += size;
    }
    eachPlace([&](uint64_t hash, unsigned kind, const char* at) {
        hash = withKind(hash, kind);
        m_places[bucketOf(hash)++] = tagOf(hash) | static_cast<uint32_t>(at - m_begin);
    });
    return true;
}

DelimiterIndex::Places DelimiterIndex::placesOf(uint64_t hash) const {
    const uint32_t bucket = static_cast<uint32_t>(hash) & (m_bucketEnds.size() - 1);
    const uint32_t* const places = m_places.data();
    return {places + (bucket ? m_bucketEnds[bucket - 1] : 0), places + m_bucketEnds[bucket],
            tagOf(hash)};
}

// -- The delimiter

// The piece behind the run of dashes at `run`.  A run within a delimiter stands in a text as it
// is; the first and the last may be longer there.
DelimiterIndex::Piece DelimiterIndex::pieceAt(std::string_view delimiter, size_t run) const {
    const char* const end = delimiter.data() + delimiter.size();
    const size_t dashes = countDashes(delimiter.data() + run, end);
    const char* const p = delimiter.data() + run + dashes;
    const Stop stop = stopBehind(p, end);
    Piece piece;
    piece.at = run + dashes;
    piece.hash = seededHash(p, static_cast<size_t>(stop.at - p), 0);
    piece.run = classOf(dashes);
    piece.lastRun = run == 0 ? kRunClasses - 1 : piece.run;
    piece.stop = stop.kind;
    piece.lastStop = stop.isWhole ? stop.kind : kRunClasses - 1;
    const size_t next = delimiter.find("--", static_cast<size_t>(stop.at - delimiter.data()));
    piece.next = next < delimiter.size() ? next : delimiter.size();
    return piece;
}

// Of several pieces the one with the fewest places.
DelimiterIndex::Piece DelimiterIndex::rarestPiece(std::string_view delimiter) const {
    constexpr size_t kFew = 16;
    Piece rarest = pieceAt(delimiter, 0);
    size_t fewest = numPlaces(rarest);
    for (size_t run = rarest.next; fewest > kFew && run < delimiter.size();) {
        const Piece piece = pieceAt(delimiter, run);
        run = piece.next;
        if (piece.stop == kTextEnd || numPlaces(piece) >= fewest) continue;
        fewest = numPlaces(piece);
        rarest = piece;
    }
    return rarest;
}

DelimiterIndex::Piece DelimiterIndex::respacedPiece(std::string_view delimiter) const {
    const size_t anchor = delimiter.find(kRespaced);
    Piece piece;
    piece.at = anchor + kRespaced.size();
    const char* const p = delimiter.data() + piece.at;
    const Stop stop = stopBehind(p, delimiter.data() + delimiter.size());
    const uint64_t context = seededHash(delimiter.data() + anchor - m_context, m_context, 0);
    piece.hash = seededHash(p, static_cast<size_t>(stop.at - p), context);
    return piece;
}

// -- The search

template <class Take>
void DelimiterIndex::eachPlaces(const Piece& piece, const Take& take) const {
    for (unsigned run = piece.run; run <= piece.lastRun; ++run)
        for (unsigned stop = piece.stop; stop <= piece.lastStop; ++stop)
            if (m_kinds >> kindOf(run, stop) & 1)
                take(placesOf(withKind(piece.hash, kindOf(run, stop))));
}

size_t DelimiterIndex::numPlaces(const Piece& piece) const {
    size_t count = 0;
    eachPlaces(piece,
               [&](Places places) { count += static_cast<size_t>(places.end - places.begin); });
    return count;
}

// Limit: long delimiters that repeat what the text repeats are compared at each place almost
// to their end; once that has cost more than the slice is long, it is searched plainly.
const char* DelimiterIndex::find(std::string_view delimiter, const char* from,
                                 const char* to) const {
    const Piece piece =
        m_anchor == Anchor::Dashes ? rarestPiece(delimiter) : respacedPiece(delimiter);
    const uint64_t first = static_cast<uint64_t>(from - m_begin) + piece.at;
    uint64_t behind = static_cast<uint64_t>(to - m_begin) + piece.at - delimiter.size() + 1;
    uint64_t compared = 0;
    const uint64_t allowed = 8 * static_cast<uint64_t>(to - from);
    const char* best = nullptr;
    eachPlaces(piece, [&](Places places) {
        const auto placeOf = [this](uint32_t entry) { return entry & m_placeBits; };
        const uint32_t* at = std::lower_bound(
            places.begin, places.end, first,
            [&](uint32_t entry, uint64_t sought) { return placeOf(entry) < sought; });
        for (; at != places.end && placeOf(*at) < behind && compared <= allowed; ++at) {
            const char* const place = m_begin + placeOf(*at) - piece.at;
            const bool isTagged = (*at & ~m_placeBits) == places.tag;
            compared += isTagged ? delimiter.size() : 1;
            if (!isTagged || std::memcmp(place, delimiter.data(), delimiter.size()) != 0) continue;
            best = place;
            behind = placeOf(*at);
            break;
        }
    });
    if (compared <= allowed) return best;
    return bytes::find(from, static_cast<size_t>(to - from), delimiter.data(), delimiter.size());
}

}  // namespace mimetree::inner
