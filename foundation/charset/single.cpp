// SPDX-License-Identifier: Apache-2.0

// The charsets of one byte per character: ISO-8859, Windows, KOI8, Macintosh, IBM and US-ASCII.
// A row of 128 characters for each is generated; the compiler makes two tables of it, ready UTF-8
// for every byte and the characters in order for the way back.  Listed for EncodingConvert.cpp.

#include <algorithm>
#include <iterator>

#include "foundation/charset/codecs.h"

namespace mimetree::inner::charset {
namespace {

#include "foundation/charset/tables/single_byte.inc"

struct SingleByte {
    // The UTF-8 of bytes 0x80 to 0xFF.  All four bytes are copied, `length` of them count.
    struct Ready {
        unsigned char utf8[3];
        unsigned char length;
    };
    struct Reverse {
        char16_t c;
        unsigned char byte;
    };

    // `points` has 0 for bytes without a character.
    constexpr explicit SingleByte(const char16_t (&points)[128]) {
        for (unsigned i = 0; i < 128; ++i) {
            const char16_t c = points[i] ? points[i] : char16_t{kReplacement};
            unsigned char text[4] = {};
            ready[i].length = static_cast<unsigned char>(utf8::put(c, text) - text);
            std::copy(text, text + 3, ready[i].utf8);
            if (points[i]) reverse[count++] = {c, static_cast<unsigned char>(0x80 + i)};
        }
        std::sort(reverse, reverse + count, [](Reverse a, Reverse b) { return a.c < b.c; });
    }

    Ready ready[128] = {};
    Reverse reverse[128] = {};
    unsigned count = 0;
};

const SingleByte& tableOf(const Codec& codec) {
    return *static_cast<const SingleByte*>(codec.table);
}

uint32_t codeOf(const Codec& codec, char32_t c) {
    if (c < 0x80) return c;
    const SingleByte& table = tableOf(codec);
    const auto* const end = table.reverse + table.count;
    const auto* const hit =
        std::lower_bound(table.reverse, end, c,
                         [](SingleByte::Reverse row, char32_t value) { return row.c < value; });
    return hit != end && hit->c == c ? hit->byte : 0;
}

bool decode(const Codec& codec, Source in, Output& out) {
    const auto& ready = tableOf(codec).ready;
    while (!in.isEmpty()) {
        if (*in.p < 0x80) {
            if (!copyAscii(in, out)) return false;
            continue;
        }
        if (!out.room(4)) return false;
        const SingleByte::Ready& text = ready[*in.p++ - 0x80];
        __builtin_memcpy(out.at, &text, 4);
        out.at += text.length;
    }
    return true;
}

bool encode(const Codec& codec, Source in, Output& out) {
    return encodePlain(
        in, out, [&codec](Source& rest) { return codeOf(codec, utf8::next(rest.p, rest.end)); });
}

template <const char16_t (&Points)[128]>
constexpr SingleByte kTable{Points};

template <const char16_t (&Points)[128]>
constexpr Codec row(int codePage) {
    return {codePage, decode, encode, codeOf, &kTable<Points>};
}

constexpr Codec kCodecs[] = {
    row<kUsAscii>(20127),     row<kIso8859_1>(28591),  row<kIso8859_2>(28592),
    row<kIso8859_3>(28593),   row<kIso8859_4>(28594),  row<kIso8859_5>(28595),
    row<kIso8859_6>(28596),   row<kIso8859_7>(28597),  row<kIso8859_8>(28598),
    row<kIso8859_8>(38598),   row<kIso8859_9>(28599),  row<kIso8859_10>(28600),
    row<kIso8859_11>(28601),  row<kIso8859_13>(28603), row<kIso8859_14>(28604),
    row<kIso8859_15>(28605),  row<kIso8859_16>(28606), row<kWindows1250>(1250),
    row<kWindows1251>(1251),  row<kWindows1252>(1252), row<kWindows1253>(1253),
    row<kWindows1254>(1254),  row<kWindows1255>(1255), row<kWindows1256>(1256),
    row<kWindows1257>(1257),  row<kWindows1258>(1258), row<kWindows874>(874),
    row<kKoi8R>(20866),       row<kKoi8U>(21866),      row<kMacintosh>(10000),
    row<kMacCyrillic>(10007), row<kIbm437>(437),       row<kIbm850>(850),
    row<kIbm852>(852),        row<kIbm855>(855),       row<kIbm866>(866),
};

}  // namespace

CodecList singleByteCodecs() { return {kCodecs, std::size(kCodecs)}; }

}  // namespace mimetree::inner::charset
