// SPDX-License-Identifier: Apache-2.0

// The encodings of Unicode: UTF-8, UTF-16 and UTF-32 in both byte orders, and UTF-7.  Listed for
// EncodingConvert.cpp.

#include <iterator>

#include "foundation/bytes/ByteSet.h"
#include "foundation/charset/codecs.h"
#include "foundation/simd/vectors.h"

namespace mimetree::inner::charset {
namespace unicode {
namespace {

bool isHighSurrogate(char32_t c) { return (c & 0xFFFFFC00) == 0xD800; }
bool isLowSurrogate(char32_t c) { return (c & 0xFFFFFC00) == 0xDC00; }

char32_t joinSurrogates(char32_t high, char32_t low) {
    return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

// -- UTF-8

// Both directions make well-formed text of what comes, each stray byte a Latin-1 character.
bool repairUtf8(const Codec&, Source in, Output& out) {
    while (!in.isEmpty()) {
        const size_t valid = utf8::validPrefix(in.p, in.size());
        if (!out.append(in.p, valid)) return false;
        in.p += valid;
        if (in.isEmpty()) break;
        if (!out.room(4)) return false;
        out.put(*in.p++);
    }
    return true;
}

// -- UTF-16 and UTF-32

struct Order {
    bool isBig;
    constexpr Order swapped() const { return {!isBig}; }
};
constexpr Order kLittle = {false}, kBig = {true};

template <unsigned Size>
char32_t readUnit(const unsigned char* p, Order order) {
    char32_t unit = 0;
    for (unsigned i = 0; i < Size; ++i) unit = unit << 8 | p[order.isBig ? i : Size - 1 - i];
    return unit;
}

template <unsigned Size>
void writeUnit(char32_t unit, Order order, Output& out) {
    for (unsigned i = 0; i < Size; ++i)
        *out.at++ = static_cast<unsigned char>(unit >> 8 * (order.isBig ? Size - 1 - i : i));
}

// A mark of either order is dropped, and gives the order of the text.
template <unsigned Size>
Order skipMark(Source& in, Order order) {
    if (in.size() < Size) return order;
    for (const Order candidate : {order, order.swapped()}) {
        if (readUnit<Size>(in.p, candidate) != 0xFEFF) continue;
        in.p += Size;
        return candidate;
    }
    return order;
}

const Order& orderOf(const Codec& codec) { return *static_cast<const Order*>(codec.table); }

// The character at in.p, U+FFFD for a surrogate that stands alone.
char32_t read16(Source& in, Order order) {
    const char32_t unit = readUnit<2>(in.p, order);
    in.p += 2;
    if (isLowSurrogate(unit)) return kReplacement;
    if (!isHighSurrogate(unit)) return unit;
    const char32_t low = in.size() < 2 ? 0 : readUnit<2>(in.p, order);
    if (!isLowSurrogate(low)) return kReplacement;
    in.p += 2;
    return joinSurrogates(unit, low);
}

char32_t read32(Source& in, Order order) {
    const char32_t c = readUnit<4>(in.p, order);
    in.p += 4;
    return c > 0x10FFFF || isHighSurrogate(c) || isLowSurrogate(c) ? kReplacement : c;
}

namespace scalar {

// The vectorised forms take what they can; the plain one leaves it all to decodeUnits().
void decodeText(bool, Source&, Output&) {}

}  // namespace scalar

#define SIMD_KERNELS "foundation/simd/utf16.inc"
#include "foundation/simd/each_level.inc"

constexpr auto kDecodeText = SIMD_KERNEL(decodeText);

// Behind what vectors leave, a surrogate as a rule, come a few units one by one.
template <unsigned Size, char32_t (*Read)(Source& in, Order order)>
bool decodeUnits(const Codec& codec, Source in, Output& out) {
    constexpr size_t kOneByOne = 8;
    const Order order = skipMark<Size>(in, orderOf(codec));
    while (in.size() >= Size) {
        if (Size == 2) kDecodeText.now()(order.isBig, in, out);
        for (size_t i = 0; i < kOneByOne && in.size() >= Size; ++i) {
            if (!out.room(4)) return false;
            out.put(Read(in, order));
        }
    }
    if (in.isEmpty()) return true;
    if (!out.room(4)) return false;
    out.put(kReplacement);  // a unit that was cut
    return true;
}

bool encode16(const Codec& codec, Source in, Output& out) {
    const Order order = orderOf(codec);
    while (!in.isEmpty()) {
        if (!out.room(4)) return false;
        const char32_t c = utf8::next(in.p, in.end);
        if (c >= 0x10000) writeUnit<2>(0xD7C0 + (c >> 10), order, out);
        writeUnit<2>(c >= 0x10000 ? 0xDC00 | (c & 0x3FF) : c, order, out);
    }
    return true;
}

bool encode32(const Codec& codec, Source in, Output& out) {
    const Order order = orderOf(codec);
    while (!in.isEmpty()) {
        if (!out.room(4)) return false;
        writeUnit<4>(utf8::next(in.p, in.end), order, out);
    }
    return true;
}

// -- UTF-7

constexpr char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// RFC 2152: sets D and O, blank, tab and line breaks stand for themselves.
constexpr ByteSet kDirect = ByteSet("\t\n\r").range(' ', '}').without("+\\");

int base64Value(unsigned char byte) {
    if (byte >= 'A' && byte <= 'Z') return byte - 'A';
    if (byte >= 'a' && byte <= 'z') return byte - 'a' + 26;
    if (byte >= '0' && byte <= '9') return byte - '0' + 52;
    return byte == '+' ? 62 : byte == '/' ? 63 : -1;
}

// Joins surrogates as the 16-bit units of a shifted run arrive.
class UnitReader {
public:
    explicit UnitReader(Output& out) : m_out(out) {}

    // Needs room for two characters.
    void take(char32_t unit) {
        if (m_high != 0 && isLowSurrogate(unit)) {
            m_out.put(joinSurrogates(m_high, unit));
            m_high = 0;
            return;
        }
        finish();
        if (isHighSurrogate(unit)) m_high = unit;
        else m_out.put(isLowSurrogate(unit) ? kReplacement : unit);
    }

    void finish() {
        if (m_high != 0) m_out.put(kReplacement);
        m_high = 0;
    }

private:
    Output& m_out;
    char32_t m_high = 0;
};

// Reads a shifted run, in.p behind its "+", and the "-" that may end it.
// Tolerated: bits that are left over are padding unless there is a whole base64 digit of them.
bool readShifted(Source& in, Output& out) {
    UnitReader units(out);
    uint32_t bits = 0;
    unsigned count = 0;
    for (int value; !in.isEmpty() && (value = base64Value(*in.p)) >= 0; ++in.p) {
        bits = bits << 6 | static_cast<uint32_t>(value);
        count += 6;
        if (count < 16) continue;
        count -= 16;
        if (!out.room(8)) return false;
        units.take(bits >> count & 0xFFFF);
    }
    if (!out.room(8)) return false;
    units.finish();
    if (count >= 6) out.put(kReplacement);
    if (!in.isEmpty() && *in.p == '-') ++in.p;
    return true;
}

// Tolerated: characters outside sets D and O; a "+" that begins no run is itself.
bool decode7(const Codec&, Source in, Output& out) {
    while (!in.isEmpty()) {
        if (!out.room(4)) return false;
        const unsigned char byte = *in.p++;
        if (byte != '+') {
            out.put(byte < 0x80 ? byte : kReplacement);
            continue;
        }
        if (!in.isEmpty() && base64Value(*in.p) >= 0) {
            if (!readShifted(in, out)) return false;
            continue;
        }
        out.put('+');
        if (!in.isEmpty() && *in.p == '-') ++in.p;
    }
    return true;
}

// Collects the 16-bit units of one shifted run and writes them in base64.
class UnitWriter {
public:
    explicit UnitWriter(Output& out) : m_out(out) {}

    void put(char32_t unit) {
        m_bits = m_bits << 16 | unit;
        for (m_count += 16; m_count >= 6; m_count -= 6) digit(m_bits >> (m_count - 6));
    }

    void finish() {
        if (m_count != 0) digit(m_bits << (6 - m_count));
        *m_out.at++ = '-';
    }

private:
    void digit(uint32_t bits) { *m_out.at++ = static_cast<unsigned char>(kBase64[bits & 63]); }

    Output& m_out;
    uint32_t m_bits = 0;
    unsigned m_count = 0;
};

bool isDirect(const Source& in) { return !in.isEmpty() && kDirect.has(static_cast<char>(*in.p)); }

bool encode7(const Codec&, Source in, Output& out) {
    while (!in.isEmpty()) {
        for (; isDirect(in); ++in.p) {
            if (!out.room(1)) return false;
            *out.at++ = *in.p;
        }
        if (in.isEmpty()) break;
        if (!out.room(8)) return false;
        *out.at++ = '+';
        if (*in.p == '+') {
            *out.at++ = '-';
            ++in.p;
            continue;
        }
        UnitWriter units(out);
        while (!in.isEmpty() && !isDirect(in)) {
            if (!out.room(16)) return false;
            const char32_t c = utf8::next(in.p, in.end);
            if (c >= 0x10000) units.put(0xD7C0 + (c >> 10));
            units.put(c >= 0x10000 ? 0xDC00 | (c & 0x3FF) : c);
        }
        units.finish();
    }
    return true;
}

constexpr Codec kCodecs[] = {
    {65001, repairUtf8, repairUtf8, nullptr},
    {65000, decode7, encode7, nullptr},
    {1200, decodeUnits<2, read16>, encode16, nullptr, &kLittle},
    {1201, decodeUnits<2, read16>, encode16, nullptr, &kBig},
    {12000, decodeUnits<4, read32>, encode32, nullptr, &kLittle},
    {12001, decodeUnits<4, read32>, encode32, nullptr, &kBig},
};

}  // namespace
}  // namespace unicode

CodecList unicodeCodecs() { return {unicode::kCodecs, std::size(unicode::kCodecs)}; }

}  // namespace mimetree::inner::charset
