// SPDX-License-Identifier: Apache-2.0

// Quoted-printable over bytes, called by ContentCoding.cpp.  Both directions alternate
// between a plain run, which is copied as it is, and the one odd byte behind it.  Only the
// copying of runs is done in two ways, the Runs of the two templates.

#include "foundation/coding/quoted_printable.h"

#include <cstring>

#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"

#if defined(__SSE2__) && defined(__GNUC__)
#define QP_SSE2 1
#include <emmintrin.h>
#endif

namespace mimetree::inner::quoted_printable {
namespace {

// RFC 2045 6.7 (5): no line is longer than 76 characters, the "=" of a soft break included.
constexpr size_t kLineChars = 76;

// What stands for itself.  RFC 2045 6.7 would let "^" stand as well; see ContentCoding.h.
constexpr ByteSet kPlain = ByteSet("\t").range(' ', '~').without("=^");

// What the blocks of a run may write behind the end of the encoded text.
constexpr size_t kSlack = 32;

// The byte for two hexadecimal digits of either case, or a number above 255.
struct HexPairs {
    uint16_t digit[256];

    constexpr unsigned value(char high, char low) const {
        return static_cast<unsigned>(digit[static_cast<unsigned char>(high)]) << 4 |
               digit[static_cast<unsigned char>(low)];
    }
};

constexpr HexPairs makeHexPairs() {
    HexPairs pairs{};
    for (uint16_t& value : pairs.digit) value = 256;
    for (uint16_t i = 0; i < 10; ++i) pairs.digit['0' + i] = i;
    for (uint16_t i = 10; i < 16; ++i) pairs.digit['A' + i - 10] = pairs.digit['a' + i - 10] = i;
    return pairs;
}

constexpr HexPairs kHexPairs = makeHexPairs();

size_t distance(const char* from, const char* to) { return static_cast<size_t>(to - from); }

// -- Plain runs

// The end of a run to decode is a "=", or a CR or LF behind a blank: blanks at the end of a
// line are dropped, and by then they have been copied.
struct DecodePlace {
    const char* begin;  // from here on blanks in front of `p` have been copied
    const char* p;
    const char* end;
    char* out;

    bool afterBlank() const { return p != begin && bytes::isBlank(p[-1]); }
};

struct ScalarRuns {
    static void copyEncoded(DecodePlace& at) {
        const char* p = at.p;
        char* out = at.out;
        bool blank = at.afterBlank();
        for (; p != at.end && *p != '='; ++p) {
            if (blank && (*p == '\n' || *p == '\r')) break;
            blank = bytes::isBlank(*p);
            *out++ = *p;
        }
        at.p = p;
        at.out = out;
    }

    // Copies up to `most` bytes that stand for themselves, and gives their number.
    static size_t copyPlain(const char* p, size_t most, const char*, char* out) {
        size_t n = 0;
        for (; n < most && kPlain.has(p[n]); ++n) out[n] = p[n];
        return n;
    }
};

#ifdef QP_SSE2
// 32 bytes as two registers, and the questions asked about them as masks of 32 bits.
struct Block {
    __m128i low, high;

    explicit Block(const char* p)
        : low(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))),
          high(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16))) {}

    void store(char* out) const {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), low);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 16), high);
    }
    static uint32_t mask(__m128i a, __m128i b) {
        return static_cast<uint32_t>(_mm_movemask_epi8(a)) |
               static_cast<uint32_t>(_mm_movemask_epi8(b)) << 16;
    }
    uint32_t equal(char c) const {
        const __m128i all = _mm_set1_epi8(c);
        return mask(_mm_cmpeq_epi8(low, all), _mm_cmpeq_epi8(high, all));
    }
    uint32_t equal(char c, char d) const {
        const __m128i c16 = _mm_set1_epi8(c), d16 = _mm_set1_epi8(d);
        return mask(_mm_or_si128(_mm_cmpeq_epi8(low, c16), _mm_cmpeq_epi8(low, d16)),
                    _mm_or_si128(_mm_cmpeq_epi8(high, c16), _mm_cmpeq_epi8(high, d16)));
    }
    // Signed: bytes from 0x80 on are below every character of ASCII.
    uint32_t below(char c) const {
        const __m128i all = _mm_set1_epi8(c);
        return mask(_mm_cmplt_epi8(low, all), _mm_cmplt_epi8(high, all));
    }
};

unsigned lowestBit(uint32_t mask) { return static_cast<unsigned>(__builtin_ctz(mask)); }

struct BlockRuns {
    // Takes the odd bytes of the usual forms as well, so that one look at a block serves all
    // that it holds.  The last of them may reach 2 bytes beyond it, and 32 are copied behind.
    static void copyEncoded(DecodePlace& at) {
        uint32_t blankBefore = at.afterBlank();
        while (at.end - at.p >= 34 + 32) {
            const Block block(at.p);
            const uint32_t blanks = block.equal(' ', '\t');
            const uint32_t stops =
                block.equal('=') | (block.equal('\n', '\r') & (blanks << 1 | blankBefore));
            block.store(at.out);
            if (!copyBetween(at, stops)) return;
            blankBefore = blanks >> 31;
        }
        ScalarRuns::copyEncoded(at);
    }

    // What lies between the stops of the block at `at.p`, and escapes and soft breaks of the
    // usual form, "=C3" and "=\r\n".  Both are three characters, so that they are told apart
    // without a branch, which would often be guessed wrong; the byte written for a soft
    // break does not count.  False when it came to a stop of another kind.
    static bool copyBetween(DecodePlace& at, uint32_t stops) {
        const char* const block = at.p;
        unsigned done = 0;
        char* out = at.out;
        for (; stops; stops &= stops - 1) {
            const unsigned stop = lowestBit(stops);
            const char* const p = block + stop;
            out += stop - done;
            const unsigned value = kHexPairs.value(p[1], p[2]);
            const bool isSoftBreak = (p[1] == '\r') & (p[2] == '\n');
            if ((*p != '=') | ((value > 255) & !isSoftBreak)) {
                at.p = p;
                at.out = out;
                return false;
            }
            *out = static_cast<char>(value);
            out += !isSoftBreak;
            done = stop + 3;
            Block(p + 3).store(out);
        }
        const unsigned next = done < 32 ? 32 : done;
        at.p = block + next;
        at.out = out + (next - done);
        return true;
    }

    // `end` is that of the data, up to which blocks may be read.
    static size_t copyPlain(const char* p, size_t most, const char* end, char* out) {
        size_t n = 0;
        while (n < most && end - (p + n) >= 32) {
            const Block block(p + n);
            block.store(out + n);
            const uint32_t odd = (block.below(' ') & ~block.equal('\t')) | block.equal('=', '^') |
                                 block.equal('\x7F');
            n += odd ? lowestBit(odd) : 32;
            if (odd) return n < most ? n : most;
        }
        return n < most ? n + ScalarRuns::copyPlain(p + n, most - n, end, out + n) : most;
    }
};
#else
using BlockRuns = ScalarRuns;
#endif

// -- Decoding

// The end of the line break at `p`, or null when there is none.
const char* afterLineBreak(const char* p, const char* end) {
    if (p != end && *p == '\n') return p + 1;
    if (end - p >= 2 && p[0] == '\r' && p[1] == '\n') return p + 2;
    return nullptr;
}

// The end of the soft line break whose "=" stands before `p`, or null when it is none.
// RFC 2045 6.7 (3): blanks between the "=" and the break came with the transport.
// Tolerated: text that was cut behind its last "=", with blanks or without.
const char* afterSoftBreak(const char* p, const char* end) {
    while (p != end && bytes::isBlank(*p)) ++p;
    return p == end ? end : afterLineBreak(p, end);
}

// RFC 2045 6.7 (1): upper case is the rule for digits, robust readers take either case.
// Tolerated: a "=" that begins neither an escape nor a soft break stands for itself.
void decodeEscape(DecodePlace& at) {
    const char* const p = at.p + 1;
    const unsigned value = at.end - p >= 2 ? kHexPairs.value(p[0], p[1]) : 256;
    if (value < 256) {
        *at.out++ = static_cast<char>(value);
        at.p = p + 2;
    } else if (const char* next = afterSoftBreak(p, at.end)) {
        at.begin = at.p = next;
    } else {
        *at.out++ = '=';
        at.p = p;
    }
}

// RFC 2045 6.7 (3): blanks at the end of a line are not part of the text.  Those written as
// escapes are; in front of them the walk back over the input ends.
void dropBlanks(DecodePlace& at) {
    const char* blank = at.p;
    while (blank != at.begin && bytes::isBlank(blank[-1])) --blank;
    at.out -= distance(blank, at.p);
}

// A CR or LF behind a blank; a CR alone ends no line.
void decodeLineEnd(DecodePlace& at) {
    if (afterLineBreak(at.p, at.end)) dropBlanks(at);
    *at.out++ = *at.p++;
}

template <class Runs>
unsigned char* decodeWith(const char* text, size_t n, unsigned char* out) {
    DecodePlace at = {text, text, text + n, reinterpret_cast<char*>(out)};
    for (;;) {
        Runs::copyEncoded(at);
        if (at.p == at.end) break;
        *at.p == '=' ? decodeEscape(at) : decodeLineEnd(at);
    }
    dropBlanks(at);
    return reinterpret_cast<unsigned char*>(at.out);
}

// -- Encoding

char* putEscape(char c, char* out) {
    const auto byte = static_cast<unsigned char>(c);
    out[0] = '=';
    out[1] = "0123456789ABCDEF"[byte >> 4];
    out[2] = "0123456789ABCDEF"[byte & 15];
    return out + 3;
}

char* putSoftBreak(char* out) {
    std::memcpy(out, "=\r\n", 3);
    return out + 3;
}

// RFC 5321 4.5.2: a line of a single "." ends an SMTP transfer.
// RFC 4155 app. A: "From " at the start of a line starts the next mail of an mbox file, and
// is written ">From " by those who store mail there.
bool isHarmfulAsLine(const char* p, const char* end) {
    return (*p == '.' && p + 1 == end) || (end - p >= 5 && std::memcmp(p, "From ", 5) == 0);
}

bool needsEscape(const char* p, const char* end) {
    return !kPlain.has(*p) || (p + 1 == end && bytes::isBlank(*p));
}

// One line of the input, without its CRLF, as one or more lines.
template <class Runs>
char* encodeLine(const char* p, const char* end, const char* dataEnd, char* out) {
    size_t column = 0;
    while (p != end) {
        const bool harmful = column == 0 && isHarmfulAsLine(p, end);
        if (!harmful) {
            // The last byte is left to the steps below, which know what only that may do.
            const size_t left = distance(p, end) - 1;
            const size_t room = kLineChars - 1 - column;
            const size_t run = Runs::copyPlain(p, left < room ? left : room, dataEnd, out);
            p += run;
            out += run;
            column += run;
        }
        const bool escape = harmful || needsEscape(p, end);
        const size_t limit = p + 1 == end ? kLineChars : kLineChars - 1;
        if (column + (escape ? 3 : 1) > limit) {
            out = putSoftBreak(out);
            column = 0;
            continue;
        }
        column += escape ? 3 : 1;
        if (escape) out = putEscape(*p, out);
        else *out++ = *p;
        ++p;
    }
    return out;
}

// The next CRLF, or `end`.
const char* findLineBreak(const char* p, const char* end) {
    for (; p != end; ++p) {
        p = static_cast<const char*>(std::memchr(p, '\r', distance(p, end)));
        if (p == nullptr) break;
        if (end - p >= 2 && p[1] == '\n') return p;
    }
    return end;
}

template <class Runs>
char* encodeWith(const unsigned char* data, size_t n, char* out) {
    const auto* p = reinterpret_cast<const char*>(data);
    const char* const end = p + n;
    while (p != end) {
        const char* const lineEnd = findLineBreak(p, end);
        out = encodeLine<Runs>(p, lineEnd, end, out);
        p = lineEnd;
        if (p == end) break;
        std::memcpy(out, p, 2);
        out += 2;
        p += 2;
    }
    return out;
}

}  // namespace

// A line that ends in a soft break holds 73 characters or more, of which at most 2 come from
// an escape for its place; 3 are the break itself.  The other escapes for a place come once
// in a line of the input: CR and LF are counted as escapes, which leaves 4 for them.
uint64_t encodedBound(const unsigned char* data, size_t n) {
    uint64_t chars = n;
    for (size_t i = 0; i < n; ++i) chars += kPlain.has(static_cast<char>(data[i])) ? 0U : 2U;
    return chars + (chars / 71 + 1) * 5 + 4 + kSlack;
}

namespace scalar {

char* encode(const unsigned char* data, size_t n, char* out) {
    return encodeWith<ScalarRuns>(data, n, out);
}

unsigned char* decode(const char* text, size_t n, unsigned char* out) {
    return decodeWith<ScalarRuns>(text, n, out);
}

}  // namespace scalar

char* encode(const unsigned char* data, size_t n, char* out) {
    return encodeWith<BlockRuns>(data, n, out);
}

unsigned char* decode(const char* text, size_t n, unsigned char* out) {
    return decodeWith<BlockRuns>(text, n, out);
}

}  // namespace mimetree::inner::quoted_printable
