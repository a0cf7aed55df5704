// SPDX-License-Identifier: Apache-2.0
#pragma once

// Delimiters of any length found by hash, for a text that asks for so many of them that walking
// its candidates each time would be quadratic.  A delimiter is told by a piece of it that
// begins and ends where the text itself says so: behind a run of dashes, and in front of the
// next run or the end of the line.  So each candidate has one entry, of about five bytes, for
// delimiters of all lengths.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "foundation/bytes/GrowArray.h"

namespace mimetree::inner {

class DelimiterIndex {
public:
    // What stands in front of a piece: dashes, or kRespaced with `context` bytes before it.
    enum class Anchor { Dashes, Respaced };
    static constexpr std::string_view kRespaced = "=_alternative ";

    DelimiterIndex(Anchor anchor, unsigned context, const char* begin, const char* end)
        : m_anchor(anchor),
          m_context(context),
          m_begin(begin),
          m_end(end),
          m_placeBits(
              static_cast<uint32_t>(std::bit_ceil(static_cast<uint64_t>(end - begin) + 1) - 1)) {}

    // False when memory is exhausted.
    bool build();

    // First occurrence wholly within [from, to), a slice of the text.  The delimiter has the
    // anchor, at its start when that is dashes, and ends with a line break or two dashes.
    const char* find(std::string_view delimiter, const char* from, const char* to) const;

private:
    struct Piece;
    struct Places {
        const uint32_t* begin;
        const uint32_t* end;
        uint32_t tag;  // of those that are meant
    };

    template <class Take>
    void eachPlace(const Take& take) const;
    template <class Take>
    void eachRun(const Take& take) const;
    template <class Take>
    void eachRespaced(const Take& take) const;
    template <class Take>
    void eachPlaces(const Piece& piece, const Take& take) const;

    Piece pieceAt(std::string_view delimiter, size_t run) const;
    Piece rarestPiece(std::string_view delimiter) const;
    Piece respacedPiece(std::string_view delimiter) const;
    size_t numPlaces(const Piece& piece) const;
    Places placesOf(uint64_t hash) const;
    uint32_t tagOf(uint64_t hash) const { return static_cast<uint32_t>(hash >> 32) & ~m_placeBits; }

    const Anchor m_anchor;
    const unsigned m_context;
    const char* const m_begin;
    const char* const m_end;
    const uint32_t m_placeBits;        // of an entry; the others are a tag
    uint32_t m_kinds = 0;              // which pairs of run length and stop occur, a bit each
    GrowArray<uint32_t> m_bucketEnds;  // ends of the buckets in m_places
    GrowArray<uint32_t> m_places;      // ends of anchors, tagged, by place in a bucket
};

}  // namespace mimetree::inner
