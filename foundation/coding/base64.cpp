// SPDX-License-Identifier: Apache-2.0

// Base64 over bytes, called by ContentCoding.cpp.  Decoding tries the fastest loop that fits
// the text in front of it: stretches of it by vectors (simd/base64.inc), groups of four by
// table, and at last one group character by character.  Every loop starts and ends between
// two groups, so that none hands anything but its place to the next.

#include "foundation/coding/base64.h"

#include "foundation/simd/vectors.h"

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

constexpr DecodeTable kGroups = makeDecodeTable();

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
            kGroups.at[0][p[0]] | kGroups.at[1][p[1]] | kGroups.at[2][p[2]] | kGroups.at[3][p[3]];
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
        const uint32_t value = kGroups.at[3][*at.p++];
        if (value & kInvalid) continue;
        bits |= value << (18 - 6 * held);
        ++held;
    }
    if (held < 4 && at.p != at.end) ++at.p;
    for (unsigned i = 0; i < held * 3 / 4; ++i)
        *at.out++ = static_cast<unsigned char>(bits >> (16 - 8 * i));
}

// What no loop takes, which may reach beyond the piece that is decoded.
void passOddPlace(Place& at, const unsigned char* textEnd) {
    const unsigned char* const stop = at.end;
    at.end = textEnd;
    if (!skipLineBreaks(at)) decodeOddGroup(at);
    at.end = stop;
}

using DecodeTo = void (*)(Place& at, const unsigned char* textEnd);

unsigned char* decodeWith(DecodeTo decodeTo, const char*& text, const char* stop, const char* end,
                          unsigned char* out) {
    const auto bytes = [](const char* p) { return reinterpret_cast<const unsigned char*>(p); };
    Place at = {bytes(text), bytes(stop), out};
    decodeTo(at, bytes(end));
    text = reinterpret_cast<const char*>(at.p);
    return at.out;
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

}  // namespace

namespace scalar {

char* encode(const unsigned char* data, size_t n, char* out) {
    for (; n > kLineBytes; data += kLineBytes, n -= kLineBytes)
        out = putLineBreak(encodeLine(data, kLineBytes, out));
    return encodeLine(data, n, out);
}

// The place ends where the piece does.
static void decodeTo(Place& at, const unsigned char* textEnd) {
    const unsigned char* const stop = at.end;
    while (at.p < stop) {
        decodeGroups(at);
        passOddPlace(at, textEnd);
    }
}

unsigned char* decode(const char* text, size_t n, unsigned char* out) {
    return decodeWith(decodeTo, text, text + n, text + n, out);
}

}  // namespace scalar

namespace {

#define SIMD_KERNELS "foundation/simd/base64.inc"
#include "foundation/simd/each_level.inc"

constexpr auto kEncode = SIMD_KERNEL(encode);
constexpr auto kDecodeTo = SIMD_KERNEL(decodeTo);

}  // namespace

char* encode(const unsigned char* data, size_t n, char* out) { return kEncode.now()(data, n, out); }

unsigned char* decode(const char* text, size_t n, unsigned char* out) {
    return decodePiece(text, text + n, text + n, out);
}

unsigned char* decodePiece(const char*& text, const char* stop, const char* end,
                           unsigned char* out) {
    return decodeWith(kDecodeTo.now(), text, stop, end, out);
}

}  // namespace mimetree::inner::base64
