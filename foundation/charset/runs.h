// SPDX-License-Identifier: Apache-2.0
#pragma once

// The loops of the table-driven codecs, for the text that makes up nearly all of what is
// converted: ASCII, characters whose UTF-8 stands ready, and codes that one table gives.  A run
// ends at anything else, and a few bytes before input or room end; the codec then takes one
// character with care and comes back.

#include <algorithm>
#include <bit>
#include <cstring>

#include "foundation/charset/codecs.h"

namespace mimetree::inner::charset {

// The UTF-8 of a byte or a pair of bytes.  All four bytes are copied, `length` of them count;
// 0 for what is not of the common kind.
struct Ready {
    unsigned char utf8[3] = {};
    unsigned char length = 0;
};

// For 0, surrogates and characters of four bytes there is none.
constexpr Ready makeReady(char32_t c) {
    Ready ready;
    if (c == 0 || c > 0xFFFF || (c & 0xF800) == 0xD800) return ready;
    ready.length = static_cast<unsigned char>(utf8::put(c, ready.utf8) - ready.utf8);
    return ready;
}

// Made by the compiler; but a WebAssembly module, which is fetched, makes its own while it is
// loaded.
#if defined(__wasm__)
#define READY_CONSTEXPR
#else
#define READY_CONSTEXPR constexpr
#endif

// The pairs of a charset by both bytes, but for the highest bit of the first.
struct ReadyPairs {
    // `pointOf` gives the character of a pair, or 0.
    template <class PointOf>
    READY_CONSTEXPR explicit ReadyPairs(PointOf pointOf) {
        for (unsigned lead = 0x81; lead <= 0xFE; ++lead)
            for (unsigned trail = 0x40; trail <= 0xFE; ++trail)
                at[(lead & 0x7F) << 8 | trail] = makeReady(pointOf(lead, trail));
    }

    const Ready& of(unsigned lead, unsigned trail) const { return at[(lead & 0x7F) << 8 | trail]; }

    Ready at[0x8000] = {};
};

// JIS X 0208, KS X 1001 with what 949 adds, and GB2312 with what GB18030 adds, by bytes from 0x81
// and 0x40 on.
extern const ReadyPairs kJisPairs, kKsPairs, kGbPairs;

// What the loops may read and write beyond their place.
constexpr size_t kAhead = 16;

// Copies 8 bytes, and tells how many of them are the ASCII at the start.
inline size_t copyAscii8(const unsigned char* p, unsigned char* at) {
    uint64_t bytes;
    std::memcpy(&bytes, p, sizeof bytes);
    std::memcpy(at, &bytes, sizeof bytes);
    bytes &= 0x8080808080808080u;
    if (bytes == 0) return sizeof bytes;
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    return static_cast<size_t>(__builtin_clzll(bytes)) / 8;
#else
    return static_cast<size_t>(__builtin_ctzll(bytes)) / 8;
#endif
}

inline void copyReady(const Ready& ready, unsigned char*& at) {
    std::memcpy(at, &ready, sizeof ready);
    at += ready.length;
}

// Where a run has to end that writes no more than `room` bytes had room for.
inline const unsigned char* runEnd(const Source& in, size_t room) {
    const size_t n = in.size() < room ? in.size() : room;
    return n < kAhead ? in.p : in.p + (n - kAhead);
}

// What a run reads and writes: in steps, each of which begins with ASCII.
struct Run {
    const unsigned char* p;
    unsigned char* at;

    // Copies a piece of ASCII; false when what follows it may be more.
    bool passAscii() {
        if (*p >= 0x80) return true;
        const size_t n = copyAscii8(p, at);
        p += n;
        at += n;
        return n != 8;
    }
};

// Steps up to the end for what writes `room` bytes; each takes what is not ASCII, or is false.
template <class Step>
void takeRun(Source& in, Output& out, size_t room, Step step) {
    const unsigned char* const end = runEnd(in, room);
    Run run = {in.p, out.at};
    while (run.p < end)
        if (run.passAscii() && !step(run, end)) break;
    in.p = run.p;
    out.at = run.at;
}

// The first of eight bytes is the uppermost of the number.
inline uint64_t firstUppermost(uint64_t bytes) {
    return std::endian::native == std::endian::big ? bytes : __builtin_bswap64(bytes);
}

inline uint64_t eightBytes(const unsigned char* p) {
    uint64_t bytes;
    std::memcpy(&bytes, p, sizeof bytes);
    return firstUppermost(bytes);
}

inline void putEightBytes(uint64_t bytes, unsigned char* at) {
    bytes = firstUppermost(bytes);
    std::memcpy(at, &bytes, sizeof bytes);
}

// The UTF-8 of a pair as one number, which is written at once.
struct ReadyWord {
    uint32_t bytes;

    explicit ReadyWord(const Ready& ready) { std::memcpy(&bytes, &ready, sizeof bytes); }
    unsigned length() const {
        return std::endian::native == std::endian::little ? bytes >> 24 : bytes & 0xFF;
    }
    unsigned put(unsigned char* at) const {
        std::memcpy(at, &bytes, sizeof bytes);
        return length();
    }
};

constexpr uint64_t kLeadsOfFour = 0x8000800080008000u, kTrailsOfFour = kLeadsOfFour >> 8;

// Four pairs at `places` in the table, the first one uppermost; false when one of them has no UTF-8
// of two or three bytes ready.  What was written does not count then.
inline bool decodeFour(const ReadyPairs& pairs, uint64_t places, Run& run) {
    const ReadyWord a(pairs.at[places >> 48]), b(pairs.at[places >> 32 & 0x7FFF]),
        c(pairs.at[places >> 16 & 0x7FFF]), d(pairs.at[places & 0x7FFF]);
    if ((a.length() & b.length() & c.length() & d.length() & 2) == 0) return false;
    unsigned char* at = run.at;
    for (const ReadyWord& pair : {a, b, c, d}) at += pair.put(at);
    run.at = at;
    run.p += 8;
    return true;
}

// The pairs in front of the first of `none`, which marks those that are none, one at least: as
// decodeFour(), but without a branch on their number, which would hardly be guessed.
inline bool decodeRest(const ReadyPairs& pairs, uint64_t places, uint64_t none, Run& run) {
    const auto n = static_cast<unsigned>(std::countl_zero(none)) / 16;
    const ReadyWord a(pairs.at[places >> 48]), b(pairs.at[places >> 32 & 0x7FFF]),
        c(pairs.at[places >> 16 & 0x7FFF]);
    const auto ifBelow = [n](unsigned i) { return 0u - (i < n); };  // all bits, or none
    const unsigned lengths =
        (a.length() | ~ifBelow(0)) & (b.length() | ~ifBelow(1)) & (c.length() | ~ifBelow(2));
    if ((lengths & 2) == 0) return false;
    unsigned char* at = run.at;
    at += a.put(at) & ifBelow(0);
    at += b.put(at) & ifBelow(1);
    run.at = at + (c.put(at) & ifBelow(2));
    run.p += 2 * size_t{n};
    return true;
}

// ASCII and pairs, of which two bytes become three at most.
inline void decodeRun(const ReadyPairs& pairs, Source& in, Output& out) {
    takeRun(in, out, out.spare() / 3 * 2, [&pairs](Run& run, const unsigned char* end) {
        while (run.p < end) {
            const uint64_t bytes = eightBytes(run.p), places = bytes & ~kLeadsOfFour;
            if (const uint64_t none = ~bytes & kLeadsOfFour) {
                if (decodeRest(pairs, places, none, run)) return true;
                break;
            }
            if (!decodeFour(pairs, places, run)) [[unlikely]]
                break;
        }
        for (; run.p < end && *run.p >= 0x80; run.p += 2) {
            const Ready& ready = pairs.of(run.p[0], run.p[1]);
            if (ready.length == 0) return false;
            copyReady(ready, run.at);
        }
        return true;
    });
}

// Which of eight bytes, pairs of seven bits, cannot be one: the first of a pair is 0x21 to 0x7D,
// the second 0x21 to 0x7E.
inline uint64_t noPairs7(uint64_t bytes) {
    constexpr uint64_t kPair = 0x0001000100010001u, kHigh = 0x8080 * kPair;
    const uint64_t low = bytes & ~kHigh;
    return (bytes | (low + kPair * 0x0201) | ~(low + kPair * 0x5F5F)) & kHigh;
}

inline bool isPair7(const unsigned char* p) { return p[0] - 0x21u < 93 && p[1] - 0x21u < 94; }

// Pairs of seven bits, but for those that begin with a tilde, four at a time while there are as
// many; false when there is none.
inline bool decodeRun7(const ReadyPairs& pairs, Source& in, Output& out) {
    const unsigned char *const end = runEnd(in, out.spare() / 3 * 2), *const before = in.p;
    Run run = {in.p, out.at};
    for (bool goesOn = true; goesOn && run.p < end;) {
        const uint64_t bytes = eightBytes(run.p), none = noPairs7(bytes);
        const uint64_t places = (bytes & ~kLeadsOfFour) | kTrailsOfFour;
        goesOn = none == 0 && decodeFour(pairs, places, run);
        if (none != 0) decodeRest(pairs, places, none, run);
    }
    for (in.p = run.p, out.at = run.at; in.size() >= 2 && isPair7(in.p); in.p += 2) {
        const Ready& ready = pairs.of(in.p[0], in.p[1] | 0x80u);
        if (ready.length == 0 || out.spare() < sizeof ready) break;
        copyReady(ready, out.at);
    }
    return in.p != before;
}

// The four bytes at p as a number, the first one lowest.
inline uint32_t fourBytes(const unsigned char* p) {
    return p[0] | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}

// Characters of two and of three bytes: what tells them, and where they stand in the tables by
// page.  Surrogates pass, but have no code.
struct TwoBytes {
    static constexpr unsigned kSize = 2;
    static bool isAt(uint32_t bytes) { return (bytes & 0xC0E0) == 0x80C0 && (bytes & 0x1E) != 0; }
    static unsigned page(uint32_t bytes) { return bytes & 0x1F; }
    static unsigned place(uint32_t bytes) { return bytes >> 8 & 0x3F; }
};

struct ThreeBytes {
    static constexpr unsigned kSize = 3;
    static bool isAt(uint32_t bytes) {
        return (bytes & 0xC0C0F0) == 0x8080E0 && (bytes & 0x200F) != 0;
    }
    static unsigned page(uint32_t bytes) { return (bytes & 0xF) << 6 | (bytes >> 8 & 0x3F); }
    static unsigned place(uint32_t bytes) { return bytes >> 16 & 0x3F; }
};

// Characters of one length with codes of `Size` bytes; false when one of them has none.
template <class Character, unsigned Size, class CodeAt>
bool encodeWord(const unsigned char*& p, const unsigned char* end, unsigned char*& at,
                const CodeAt& codeAt) {
    for (; p < end; p += Character::kSize) {
        const uint32_t bytes = fourBytes(p);
        if (!Character::isAt(bytes)) return true;
        const unsigned code = codeAt(Character::page(bytes), Character::place(bytes));
        if (code == 0) return false;
        if (Size == 2) *at++ = static_cast<unsigned char>(code >> 8);
        *at++ = static_cast<unsigned char>(code);
    }
    return true;
}

// ASCII and characters with a code; codeAt(page, place) gives that, or 0.  Words are mostly of
// one length: a step whose length hangs on each character would wait for it.
template <unsigned Size, class CodeAt>
void encodeRun(Source& in, Output& out, CodeAt codeAt) {
    takeRun(in, out, out.spare(), [&codeAt](Run& run, const unsigned char* end) {
        const unsigned char* const before = run.p;
        return encodeWord<ThreeBytes, Size>(run.p, end, run.at, codeAt) &&
               encodeWord<TwoBytes, Size>(run.p, end, run.at, codeAt) &&
               (run.p != before || *run.p < 0x80);
    });
}

// Codes of two bytes, the first of which has its high bit, by where characters stand in UTF-8.
// For those of three bytes the pages of shorter ones are empty, which refuses the overlong.
template <size_t Codes>
struct ReadyCodes {
    // From tables by page and place; `written` gives the code that is written for one, or 0.
    template <size_t Pages, class Written>
    READY_CONSTEXPR ReadyCodes(const uint16_t (&index)[Pages], const uint16_t (&codes)[Codes],
                               Written written) {
        static_assert(Pages >= 1024 && Codes <= 0x10000);
        for (size_t page = 0; page < 1024; ++page)
            (page < 32 ? narrow[page] : wide[(page & 0x3C0) << 2 | 0x80 | (page & 0x3F)]) =
                static_cast<uint16_t>(index[page] * 64);
        for (size_t i = 0; i < Codes; ++i)
            at[kBelow + i] = static_cast<uint16_t>(written(codes[i]));
    }

    // Of a character of two bytes.
    unsigned operator()(unsigned page, unsigned place) const {
        return at[kBelow + narrow[page] + place];
    }

    // Of one of three bytes, the first two of which are the lowest of `bytes`.
    uint64_t ofThree(uint64_t bytes, unsigned char third) const {
        return at[wide[bytes & 0xFFF] + third];
    }

    // With places for what is none behind the lead bytes, and room around the codes.
    static constexpr size_t kBelow = 0x80;
    uint16_t narrow[32] = {}, wide[4096] = {}, at[kBelow + Codes + 0x40] = {};
};

// Four characters of three bytes, of whose codes only the bits of `kept` are written; as many as
// there are, and false, when one of them is no such character or has no code.
template <class Codes>
bool encodeFour(const Codes& codes, uint64_t kept, Run& run) {
    constexpr uint64_t kMarks = 0xF0C0C0F0C0C00000u, kThree = 0xE08080E080800000u;
    const uint64_t first = eightBytes(run.p), second = eightBytes(run.p + 6);
    const uint64_t word =
        codes.ofThree(first >> 48, run.p[2]) << 48 | codes.ofThree(first >> 24, run.p[5]) << 32 |
        codes.ofThree(second >> 48, run.p[8]) << 16 | codes.ofThree(second >> 24, run.p[11]);
    putEightBytes(word & kept, run.at);
    const uint64_t odd = (first ^ kThree) & kMarks, secondOdd = (second ^ kThree) & kMarks;
    const uint64_t none = ~word & kLeadsOfFour;
    size_t n = 4;
    if ((odd | secondOdd | none) != 0) {
        const int characters =
            odd ? std::countl_zero(odd) / 24 : 2 + std::countl_zero(secondOdd) / 24;
        n = static_cast<size_t>(std::min(characters, std::countl_zero(none) / 16));
    }
    run.p += 3 * n;
    run.at += 2 * n;
    return n == 4;
}

// ASCII and characters of two and three bytes with a code.
template <class Codes>
void encodePairRun(const Codes& codes, Source& in, Output& out) {
    takeRun(in, out, out.spare(), [&codes](Run& run, const unsigned char* end) {
        const unsigned char* const before = run.p;
        while (run.p < end && encodeFour(codes, ~uint64_t{0}, run)) {
        }
        return encodeWord<TwoBytes, 2>(run.p, end, run.at, codes) &&
               (run.p != before || *run.p < 0x80);
    });
}

// The text behind a byte order mark, or the text as it is when none leads it.  The mark says
// nothing in a charset that lacks the character.
Source behindMark(Source in);

// Encodes with codes of one to four bytes that leave ASCII as it is.  `encodeCommon` takes runs of
// what is common, `takeCode` reads a character of any kind.
template <class EncodeCommon, class TakeCode>
bool encodePlain(Source in, Output& out, EncodeCommon encodeCommon, TakeCode takeCode) {
    if (Source mark = in; behindMark(in).p != in.p && takeCode(mark) == 0) in = mark;
    while (!in.isEmpty()) {
        encodeCommon(in, out);
        if (in.isEmpty()) break;
        if (!out.room(kAhead)) return false;
        if (*in.p < 0x80) *out.at++ = *in.p++;
        else out.putCode(takeCode(in));
    }
    return true;
}

}  // namespace mimetree::inner::charset
