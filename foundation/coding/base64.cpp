// SPDX-License-Identifier: Apache-2.0

// Base64 over bytes, called by ContentCoding.cpp.  Decoding tries the fastest loop that fits
// the text in front of it: whole lines of the usual layout, blocks of 32 characters, groups
// of four by table, and at last one group character by character.  Every loop starts and
// ends between two groups, so that none hands anything but its place to the next.

#include "foundation/coding/base64.h"

#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
#define BASE64_AVX2 1
#include <immintrin.h>
#endif

namespace mimetree::inner::base64 {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// -- Decoding, portable

constexpr uint32_t kInvalid = 0x80000000;

// The value of each character as it stands in a group of 24 bits, for its four places;
// kInvalid for what is not in the alphabet.
struct DecodeTable {
    uint32_t at[4][256];
};

constexpr DecodeTable makeDecodeTable() {
    DecodeTable t{};
    for (auto& place : t.at)
        for (uint32_t& value : place) value = kInvalid;
    for (unsigned place = 0; place < 4; ++place)
        for (uint32_t value = 0; value < 64; ++value)
            t.at[place][static_cast<unsigned char>(kAlphabet[value])] = value << (18 - 6 * place);
    return t;
}

constexpr DecodeTable kDecode = makeDecodeTable();

// At every step `out` has room for decodedBound(end - p), which is what lets the loops below
// write in blocks.
struct Place {
    const unsigned char* p;
    const unsigned char* end;
    unsigned char* out;

    size_t left() const { return static_cast<size_t>(end - p); }
};

// Groups of four characters of the alphabet.
void decodeGroups(Place& at) {
    const unsigned char* p = at.p;
    unsigned char* out = at.out;
    for (; at.end - p >= 4; p += 4, out += 3) {
        const uint32_t bits =
            kDecode.at[0][p[0]] | kDecode.at[1][p[1]] | kDecode.at[2][p[2]] | kDecode.at[3][p[3]];
        if (bits & kInvalid) break;
        out[0] = static_cast<unsigned char>(bits >> 16);
        out[1] = static_cast<unsigned char>(bits >> 8);
        out[2] = static_cast<unsigned char>(bits);
    }
    at.p = p;
    at.out = out;
}

// Line breaks between groups are passed here: the next line then starts with a group of its
// own and can be taken whole.
bool skipLineBreaks(Place& at) {
    const unsigned char* const start = at.p;
    while (at.p != at.end && (*at.p == '\r' || *at.p == '\n')) ++at.p;
    return at.p != start;
}

// One group, whatever stands between its characters.
// Tolerated: encodings that were joined, each with its padding; "=" ends only the group.
// Tolerated: missing padding.  Two or three characters give one or two bytes, one none.
void decodeOddGroup(Place& at) {
    uint32_t bits = 0;
    unsigned held = 0;
    while (held < 4 && at.p != at.end && *at.p != '=') {
        const uint32_t value = kDecode.at[3][*at.p++];
        if (value & kInvalid) continue;
        bits |= value << (18 - 6 * held);
        ++held;
    }
    if (held < 4 && at.p != at.end) ++at.p;
    for (unsigned i = 0; i < held * 3 / 4; ++i)
        *at.out++ = static_cast<unsigned char>(bits >> (16 - 8 * i));
}

Place placeOf(const char* text, size_t n, unsigned char* out) {
    const auto* p = reinterpret_cast<const unsigned char*>(text);
    return {p, p + n, out};
}

// -- Encoding, portable

char* encodeGroup(uint32_t bits, char* out) {
    out[0] = kAlphabet[bits >> 18 & 63];
    out[1] = kAlphabet[bits >> 12 & 63];
    out[2] = kAlphabet[bits >> 6 & 63];
    out[3] = kAlphabet[bits & 63];
    return out + 4;
}

char* encodeLine(const unsigned char* p, size_t n, char* out) {
    for (; n >= 3; p += 3, n -= 3)
        out = encodeGroup(static_cast<uint32_t>(p[0] << 16 | p[1] << 8 | p[2]), out);
    if (n == 0) return out;
    out = encodeGroup(static_cast<uint32_t>(p[0] << 16 | (n == 2 ? p[1] << 8 : 0)), out);
    if (n == 1) out[-2] = '=';
    out[-1] = '=';
    return out;
}

char* putLineBreak(char* out) {
    out[0] = '\r';
    out[1] = '\n';
    return out + 2;
}

#ifdef BASE64_AVX2
#define AVX2_FUNCTION __attribute__((target("avx2")))
#define AVX2_INLINE __attribute__((target("avx2"), always_inline)) inline

// -- Decoding with AVX2, 32 characters to 24 bytes

AVX2_INLINE __m256i load(const unsigned char* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

// A table of 16 bytes, looked up by each byte of `index`.
using Row16 = int8_t[16];

AVX2_INLINE __m256i bothLanes(const Row16& row) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row)));
}

AVX2_INLINE __m256i lookUp(const Row16& row, __m256i index) {
    return _mm256_shuffle_epi8(bothLanes(row), index);
}

AVX2_INLINE __m256i highNibbles(__m256i chars) {
    return _mm256_and_si256(_mm256_srli_epi32(chars, 4), _mm256_set1_epi8(15));
}

// Not zero in each byte that is outside the alphabet.  The high nibble of a character tells
// its row, the low one the rows in which that column is empty:
//   1: 2x "+/"   2: 3x "0-9"   4: 4x 6x "A-O" "a-o"   8: 5x 7x "P-Z" "p-z"   16: all others
AVX2_INLINE __m256i strangers(__m256i chars, __m256i high) {
    static constexpr Row16 kRow = {16, 16, 1, 2, 4, 8, 4, 8, 16, 16, 16, 16, 16, 16, 16, 16};
    static constexpr Row16 kEmptyIn = {21, 17, 17, 17, 17, 17, 17, 17,
                                       17, 17, 19, 26, 27, 27, 27, 26};
    const __m256i low = _mm256_and_si256(chars, _mm256_set1_epi8(15));
    return _mm256_and_si256(lookUp(kRow, high), lookUp(kEmptyIn, low));
}

// Characters of the alphabet to their values: each row adds a number of its own, and "/",
// which needs another than "+" in its row, is looked up one row before.
AVX2_INLINE __m256i values(__m256i chars, __m256i high) {
    static constexpr Row16 kShift = {0, 16, 19, 4, -65, -65, -71, -71};
    const __m256i slash = _mm256_cmpeq_epi8(chars, _mm256_set1_epi8('/'));
    return _mm256_add_epi8(chars, lookUp(kShift, _mm256_add_epi8(high, slash)));
}

// Joins four values of 6 bits to three bytes, and writes 24 of them; the 8 behind are junk.
AVX2_INLINE void storePacked(__m256i sextets, unsigned char* out) {
    const __m256i pairs = _mm256_maddubs_epi16(sextets, _mm256_set1_epi32(0x01400140));
    const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    static constexpr Row16 kBytes = {2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12};
    const __m256i lanes = _mm256_shuffle_epi8(groups, bothLanes(kBytes));
    const __m256i whole =
        _mm256_permutevar8x32_epi32(lanes, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), whole);
}

// Lines of 76 characters and CRLF.  A line is three blocks, of which the last two overlap:
// 32 + 32 + 32 characters from 0, 32 and 44 give the bytes from 0, 24 and 33.  The last
// block writes up to byte 65, for which 88 characters promise room.
AVX2_FUNCTION void decodeLines(Place& at) {
    for (; at.left() >= 88; at.p += kLineChars + 2, at.out += kLineBytes) {
        if (at.p[kLineChars] != '\r' || at.p[kLineChars + 1] != '\n') return;
        const __m256i a = load(at.p), b = load(at.p + 32), c = load(at.p + 44);
        const __m256i highA = highNibbles(a), highB = highNibbles(b), highC = highNibbles(c);
        const __m256i strange = _mm256_or_si256(
            _mm256_or_si256(strangers(a, highA), strangers(b, highB)), strangers(c, highC));
        if (!_mm256_testz_si256(strange, strange)) return;
        storePacked(values(a, highA), at.out);
        storePacked(values(b, highB), at.out + 24);
        storePacked(values(c, highC), at.out + 33);
    }
}

// Blocks of any layout; the last one counts up to the group that holds a stranger.  A block
// writes 32 bytes, for which 44 characters promise room.
AVX2_FUNCTION void decodeBlocks(Place& at) {
    while (at.left() >= 44) {
        const __m256i chars = load(at.p);
        const __m256i high = highNibbles(chars);
        const __m256i known = _mm256_cmpeq_epi8(strangers(chars, high), _mm256_setzero_si256());
        const auto strange = ~static_cast<uint32_t>(_mm256_movemask_epi8(known));
        const unsigned groups =
            strange == 0 ? 8 : static_cast<unsigned>(__builtin_ctz(strange)) / 4;
        storePacked(values(chars, high), at.out);
        at.p += 4 * groups;
        at.out += 3 * groups;
        if (groups < 8) return;
    }
}

AVX2_FUNCTION unsigned char* decodeAvx2(const char* text, size_t n, unsigned char* out) {
    Place at = placeOf(text, n, out);
    while (at.p != at.end) {
        decodeLines(at);
        decodeBlocks(at);
        decodeGroups(at);
        if (!skipLineBreaks(at)) decodeOddGroup(at);
    }
    return at.out;
}

// -- Encoding with AVX2, 24 bytes to 32 characters

// Each lane gets 12 bytes, the upper one from a load that starts 4 bytes early, so that
// nothing behind the 24 is read; byte order 1 0 2 1 makes every 6 bits reachable by shifts
// within 16 bits.
AVX2_INLINE __m256i loadSpread(const unsigned char* p) {
    const __m128i lower = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i upper = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 8));
    return _mm256_shuffle_epi8(
        _mm256_inserti128_si256(_mm256_castsi128_si256(lower), upper, 1),
        _mm256_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10,  //
                         5, 4, 6, 5, 8, 7, 9, 8, 11, 10, 12, 11, 14, 13, 15, 14));
}

// The four sextets of each 32 bits to a byte each: multiplications serve as shifts that
// differ from one half to the other.
AVX2_INLINE __m256i splitSextets(__m256i spread) {
    const __m256i firstAndThird = _mm256_mulhi_epu16(
        _mm256_and_si256(spread, _mm256_set1_epi32(0x0FC0FC00)), _mm256_set1_epi32(0x04000040));
    const __m256i secondAndFourth = _mm256_mullo_epi16(
        _mm256_and_si256(spread, _mm256_set1_epi32(0x003F03F0)), _mm256_set1_epi32(0x01000010));
    return _mm256_or_si256(firstAndThird, secondAndFourth);
}

// Values to characters by what their range adds: 0 for A-Z, 1 for a-z, 2 to 11 for the
// digits, 12 and 13 for "+" and "/".
AVX2_INLINE __m256i characters(__m256i sextets) {
    static constexpr Row16 kShift = {65, 71, -4, -4, -4, -4, -4, -4, -4, -4, -4, -4, -19, -16};
    const __m256i beyondUpper = _mm256_cmpgt_epi8(sextets, _mm256_set1_epi8(25));
    const __m256i range =
        _mm256_sub_epi8(_mm256_subs_epu8(sextets, _mm256_set1_epi8(51)), beyondUpper);
    return _mm256_add_epi8(sextets, lookUp(kShift, range));
}

AVX2_INLINE void encodeBlock(const unsigned char* p, char* out) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), characters(splitSextets(loadSpread(p))));
}

// Whole lines by three blocks, the last two of which overlap as in decodeLines().
AVX2_FUNCTION char* encodeAvx2(const unsigned char* p, size_t n, char* out) {
    for (; n > kLineBytes; p += kLineBytes, n -= kLineBytes) {
        encodeBlock(p, out);
        encodeBlock(p + 24, out + 32);
        encodeBlock(p + 33, out + 44);
        out = putLineBreak(out + kLineChars);
    }
    return encodeLine(p, n, out);
}

bool hasAvx2() { return __builtin_cpu_supports("avx2"); }
#endif

}  // namespace

namespace scalar {

char* encode(const unsigned char* data, size_t n, char* out) {
    for (; n > kLineBytes; data += kLineBytes, n -= kLineBytes)
        out = putLineBreak(encodeLine(data, kLineBytes, out));
    return encodeLine(data, n, out);
}

unsigned char* decode(const char* text, size_t n, unsigned char* out) {
    Place at = placeOf(text, n, out);
    while (at.p != at.end) {
        decodeGroups(at);
        if (!skipLineBreaks(at)) decodeOddGroup(at);
    }
    return at.out;
}

}  // namespace scalar

char* encode(const unsigned char* data, size_t n, char* out) {
#ifdef BASE64_AVX2
    if (hasAvx2()) return encodeAvx2(data, n, out);
#endif
    return scalar::encode(data, n, out);
}

unsigned char* decode(const char* text, size_t n, unsigned char* out) {
#ifdef BASE64_AVX2
    if (hasAvx2()) return decodeAvx2(text, n, out);
#endif
    return scalar::decode(text, n, out);
}

}  // namespace mimetree::inner::base64
