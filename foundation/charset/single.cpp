// SPDX-License-Identifier: Apache-2.0

// The charsets of one byte per character: ISO-8859, Windows, KOI8, Macintosh, IBM and US-ASCII.
// A row of 128 characters for each is generated; the compiler makes two tables of it, ready UTF-8
// for every byte and pages of bytes for the way back.  Listed for EncodingConvert.cpp.

#include <iterator>

#include "foundation/charset/runs.h"
#include "foundation/simd/vectors.h"

namespace mimetree::inner::charset {
namespace single {
namespace {

#include "foundation/charset/tables/single_byte.inc"

struct SingleByte {
    static constexpr unsigned kPage = 64, kPages = 24;

    // `points` has 0 for bytes without a character.
    constexpr explicit SingleByte(const char16_t (&points)[128]) {
        ready[0].length = 1;
        for (unsigned i = 1; i < 128; ++i) ready[i] = makeReady(i);
        unsigned pages = 1;  // the first one is empty
        for (unsigned i = 0; i < 128; ++i) {
            const char16_t c = points[i];
            ready[128 + i] = makeReady(c ? c : kReplacement);
            for (unsigned k = 0; k < 3; ++k) planes[k][i] = ready[128 + i].utf8[k];
            if (c != 128 + i) latinFrom = 128 + i + 1;
            if (c == 0) isTotal = false;
            if (c == 0) continue;
            if (pageOf[c / kPage] == 0) pageOf[c / kPage] = static_cast<unsigned char>(pages++);
            byteOf[pageOf[c / kPage]][c % kPage] = static_cast<unsigned char>(128 + i);
        }
    }

    unsigned at(unsigned page, unsigned place) const { return byteOf[pageOf[page]][place]; }

    Ready ready[256] = {};
    bool isTotal = true;                // every byte is a character
    unsigned latinFrom = 128;           // from here on bytes are characters of their value
    unsigned char planes[3][128] = {};  // the bytes of UTF-8 of 0x80 to 0xFF
    unsigned char pageOf[0x10000 / kPage] = {};
    unsigned char byteOf[kPages][kPage] = {};  // 0 for what has none
};

const SingleByte& tableOf(const Codec& codec) {
    return *static_cast<const SingleByte*>(codec.table);
}

uint32_t codeOf(const Codec& codec, char32_t c) {
    constexpr unsigned kPage = SingleByte::kPage;
    return c < 0x80 ? c : c > 0xFFFF ? 0 : tableOf(codec).at(c / kPage, c % kPage);
}

struct CodeAt {
    const SingleByte& table;
    unsigned operator()(unsigned page, unsigned place) const { return table.at(page, place); }
};

namespace scalar {

// Blocks of 8: ASCII as it is, others byte by byte without a look at what they are.
void decodeText(const SingleByte& table, Source& in, Output& out) {
    constexpr size_t kBlock = 8, kRoom = 3 * kBlock + 1;
    while (in.size() >= kBlock && out.spare() >= kRoom) {
        unsigned char* at = out.at;
        if (copyAscii8(in.p, at) == kBlock) at += kBlock;
        else
            for (size_t i = 0; i < kBlock; ++i) copyReady(table.ready[in.p[i]], at);
        out.at = at;
        in.p += kBlock;
    }
}

void encodeText(const SingleByte& table, Source& in, Output& out) {
    encodeRun<1>(in, out, CodeAt{table});
}

}  // namespace scalar

#define SIMD_KERNELS "foundation/simd/single_byte.inc"
#include "foundation/simd/each_level.inc"

constexpr auto kDecodeText = SIMD_KERNEL(decodeText);
constexpr auto kEncodeText = SIMD_KERNEL(encodeText);

bool decode(const Codec& codec, Source in, Output& out) {
    const SingleByte& table = tableOf(codec);
    for (;;) {
        kDecodeText.now()(table, in, out);
        if (in.isEmpty()) return true;
        if (!out.room(kAhead)) return false;
        copyReady(table.ready[*in.p++], out.at);
    }
}

bool encode(const Codec& codec, Source in, Output& out) {
    const SingleByte& table = tableOf(codec);
    const auto encodeCommon = [&](Source& rest, Output& to) { kEncodeText.now()(table, rest, to); };
    return encodePlain(in, out, encodeCommon,
                       [&](Source& rest) { return codeOf(codec, utf8::next(rest.p, rest.end)); });
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
}  // namespace single

bool isTotalSingleByte(const Codec& codec) {
    return codec.decode == single::decode && single::tableOf(codec).isTotal;
}

CodecList singleByteCodecs() { return {single::kCodecs, std::size(single::kCodecs)}; }

}  // namespace mimetree::inner::charset
