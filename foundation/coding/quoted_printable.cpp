// SPDX-License-Identifier: Apache-2.0

// Quoted-printable over bytes, called by ContentCoding.cpp.  Decoding alternates between runs of
// the usual form and the odd place behind each, encoding goes line by line; the runs and the
// lines have plain forms here and vectorised ones in simd/quoted_printable.inc.

#include "foundation/coding/quoted_printable.h"

#include <bit>
#include <cstring>

#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"
#include "foundation/simd/vectors.h"

namespace mimetree::inner::quoted_printable {
namespace {

// RFC 2045 6.7 (5): no line is longer than 76 characters, the "=" of a soft break included.
constexpr size_t kLineChars = 76;

// What stands for itself.  RFC 2045 6.7 would let "^" stand as well; see ContentCoding.h.
constexpr ByteSet kPlain = ByteSet("\t").range(' ', '~').without("=^");

// What the vectorised loops may write behind the end of the encoded text.
constexpr size_t kSlack = 128;

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

}  // namespace

namespace scalar {

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

}  // namespace scalar

namespace {

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

template <void (*CopyEncoded)(DecodePlace& at)>
unsigned char* decodeWith(const char* text, size_t n, unsigned char* out) {
    DecodePlace at = {text, text, text + n, reinterpret_cast<char*>(out)};
    for (;;) {
        CopyEncoded(at);
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

// The next CRLF, or `end`.
const char* findLineBreak(const char* p, const char* end) {
    for (; p != end; ++p) {
        p = static_cast<const char*>(std::memchr(p, '\r', distance(p, end)));
        if (p == nullptr) break;
        if (end - p >= 2 && p[1] == '\n') return p;
    }
    return end;
}

}  // namespace

namespace scalar {

// One line of the input, without its CRLF, as one or more lines.
static char* encodeLine(const char* p, const char* end, char* out) {
    for (size_t column = 0; p != end;) {
        const bool escape = needsEscape(p, end) || (column == 0 && isHarmfulAsLine(p, end));
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

size_t countEscapes(const char* p, size_t n) {
    size_t count = 0;
    for (size_t i = 0; i < n; ++i) count += !kPlain.has(p[i]);
    return count;
}

char* encode(const unsigned char* data, size_t n, char* out) {
    const auto* p = reinterpret_cast<const char*>(data);
    const char* const end = p + n;
    while (p != end) {
        const char* const lineEnd = findLineBreak(p, end);
        out = encodeLine(p, lineEnd, out);
        p = lineEnd;
        if (p == end) break;
        std::memcpy(out, p, 2);
        out += 2;
        p += 2;
    }
    return out;
}

unsigned char* decode(const char* text, size_t n, unsigned char* out) {
    return decodeWith<copyEncoded>(text, n, out);
}

}  // namespace scalar

namespace {

#define SIMD_KERNELS "foundation/simd/quoted_printable.inc"
#include "foundation/simd/each_level.inc"

constexpr auto kCountEscapes = SIMD_KERNEL(countEscapes);
constexpr auto kEncode = SIMD_KERNEL(encode);
constexpr auto kDecode = SIMD_KERNEL(decode);

}  // namespace

size_t countEscapes(const char* p, size_t n) { return kCountEscapes.now()(p, n); }

// A line that ends in a soft break holds 73 characters or more, of which at most 2 come from
// an escape for its place; 3 are the break itself.  The other escapes for a place come once
// in a line of the input: CR and LF are counted as escapes, which leaves 4 for them.
static uint64_t boundOf(uint64_t chars) { return chars + (chars / 71 + 1) * 5 + 4 + kSlack; }

uint64_t encodedBound(const unsigned char* data, size_t n) {
    return boundOf(n + 2 * uint64_t{countEscapes(reinterpret_cast<const char*>(data), n)});
}

uint64_t mostEncoded(uint64_t n) { return boundOf(3 * n); }

char* encode(const unsigned char* data, size_t n, char* out) { return kEncode.now()(data, n, out); }

unsigned char* decode(const char* text, size_t n, unsigned char* out) {
    return kDecode.now()(text, n, out);
}

}  // namespace mimetree::inner::quoted_printable
