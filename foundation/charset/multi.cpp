// SPDX-License-Identifier: Apache-2.0

// Chinese, Japanese and Korean charsets without shift states: 936 and its kin GB2312 and GB18030,
// 932 and EUC-JP, 949 and EUC-KR, 950.  Relatives share one generated table.  What they read is
// the largest of the family, as mail labels its text with the smallest, and all that was read can
// be written again; they differ in what they count as held, which is what the label means to a
// strict reader.  Listed for EncodingConvert.cpp; stateful.cpp uses the same character sets.
//
// A pair that is not valid gives one U+FFFD, and its second byte is not eaten when it is ASCII
// (WHATWG Encoding Standard), so that a broken character cannot swallow a quote or a "<".

#include <algorithm>
#include <iterator>

#include "foundation/charset/runs.h"

namespace mimetree::inner::charset {
namespace {

struct CodeRange {
    uint16_t first, last;
};

#include "foundation/charset/tables/big5.inc"
#include "foundation/charset/tables/gb.inc"
#include "foundation/charset/tables/jis.inc"
#include "foundation/charset/tables/ks.inc"

// -- Looking up

// A grid of lead bytes 0x81 to 0xFE by trail bytes 0x40 to 0xFE.
constexpr unsigned kLeads = 126, kTrails = 191;

constexpr bool isLead(unsigned byte) { return byte - 0x81 < kLeads; }
constexpr bool isGr(unsigned byte) { return byte - 0xA1 < 94; }
bool isDigit(unsigned byte) { return byte - 0x30 < 10; }

// A pair of two bytes from 0xA1 to 0xFE, else 0.
uint32_t ifGr(uint32_t pair) { return isGr(pair >> 8) && isGr(pair & 0xFF) ? pair : 0; }

constexpr unsigned gridCell(const uint16_t (&cells)[kLeads * kTrails], unsigned lead,
                            unsigned trail) {
    if (!isLead(lead) || trail - 0x40 >= kTrails) return 0;
    return cells[(lead - 0x81) * kTrails + trail - 0x40];
}

constexpr unsigned kPage = 64;

// Codes by page and place there.
struct CodeTable {
    const uint16_t* index;
    size_t pages;
    const uint16_t* codes;

    uint32_t at(unsigned page, unsigned place) const { return codes[index[page] * kPage + place]; }
    uint32_t of(char32_t c) const { return c / kPage < pages ? at(c / kPage, c % kPage) : 0; }
};

constexpr CodeTable kGb = {kGbIndex, std::size(kGbIndex), kGbCodes};
constexpr CodeTable kKs = {kKsIndex, std::size(kKsIndex), kKsCodes};
constexpr CodeTable kBig5 = {kBig5Index, std::size(kBig5Index), kBig5Codes};
constexpr CodeTable kJis = {kJisIndex, std::size(kJisIndex), kJisCodes};
constexpr CodeTable kJis0212 = {kJis0212Index, std::size(kJis0212Index), kJis0212Codes};

template <size_t N>
bool isIn(const CodeRange (&ranges)[N], uint32_t code) {
    const auto* const after =
        std::upper_bound(ranges, ranges + N, code,
                         [](uint32_t value, CodeRange range) { return value < range.first; });
    return after != ranges && code <= after[-1].last;
}

// -- Decoding pairs

// One U+FFFD for what stands at in.p.
void putBad(Source& in, Output& out, bool isPair) {
    out.put(kReplacement);
    in.p += isPair && in.size() > 1 && in.p[1] >= 0x80 ? 2 : 1;
}

// Charset::kPairs has the pairs of the common kind; Charset::readOther reads one character, or
// what is none, in any other way.
template <class Charset>
bool decodePairs(const Codec&, Source in, Output& out) {
    while (!in.isEmpty()) {
        decodeRun(Charset::kPairs, in, out);
        if (in.isEmpty()) break;
        if (!out.room(kAhead)) return false;
        const Ready none = {};
        const Ready& ready = in.size() > 1 ? Charset::kPairs.of(in.p[0], in.p[1]) : none;
        if (*in.p < 0x80) {
            *out.at++ = *in.p++;
        } else if (ready.length != 0) {
            copyReady(ready, out.at);
            in.p += 2;
        } else {
            Charset::readOther(in, out);
        }
    }
    return true;
}

// Codes has the codes of two bytes that need no thought, TakeCode gives all codes.
template <const auto& Codes, uint32_t (*TakeCode)(Source&)>
bool encodePairs(const Codec&, Source in, Output& out) {
    const auto encodeCommon = [](Source& rest, Output& to) { encodePairRun(Codes, rest, to); };
    return encodePlain(in, out, encodeCommon, TakeCode);
}

template <uint32_t (*CodeOf)(char32_t)>
uint32_t take(Source& in) {
    return CodeOf(utf8::next(in.p, in.end));
}

template <uint32_t (*CodeOf)(char32_t)>
uint32_t codeOrAscii(const Codec&, char32_t c) {
    return c < 0x80 ? c : CodeOf(c);
}

// -- Chinese, simplified: 936, 51936 and GB18030

constexpr char32_t kEuro = 0x20AC;

// Four-byte codes are numbered through; those from kSupplementary on are U+10000 and up.
constexpr uint32_t kSupplementary = 189000, kBmpEnd = 39420;

char32_t gb18030Point(uint32_t pointer) {
    if (pointer >= kSupplementary && pointer - kSupplementary < 0x100000)
        return 0x10000 + pointer - kSupplementary;
    if (pointer >= kBmpEnd) return 0;
    const auto* const after =
        std::upper_bound(std::begin(kGb18030Pointers), std::end(kGb18030Pointers), pointer);
    const auto run = after - kGb18030Pointers - 1;
    return kGb18030Points[run] + pointer - kGb18030Pointers[run];
}

uint32_t gb18030Pointer(char32_t c) {
    if (c >= 0x10000) return kSupplementary + c - 0x10000;
    const auto* const after =
        std::upper_bound(std::begin(kGb18030Points), std::end(kGb18030Points), c);
    const auto run = after - kGb18030Points - 1;
    return kGb18030Pointers[run] + c - kGb18030Points[run];
}

struct Gb {
    static constexpr const ReadyPairs& kPairs = kGbPairs;

    // Tolerated: 0x80 for the euro sign is what Windows writes in 936.
    static void readOther(Source& in, Output& out) {
        const unsigned char* const p = in.p;
        if (*p == 0x80) {
            out.put(kEuro);
            ++in.p;
        } else if (in.size() >= 4 && isLead(p[0]) && isDigit(p[1]) && isLead(p[2]) &&
                   isDigit(p[3])) {
            const char32_t c = gb18030Point(((p[0] - 0x81u) * 10 + p[1] - 0x30) * 1260 +
                                            (p[2] - 0x81u) * 10 + p[3] - 0x30);
            out.put(c ? c : kReplacement);
            in.p += 4;
        } else {
            putBad(in, out, isLead(*p));
        }
    }
};

uint32_t gb18030PairOf(char32_t c) { return kGb.of(c); }

uint32_t gb18030Of(char32_t c) {
    if (const uint32_t pair = gb18030PairOf(c)) return pair;
    const uint32_t pointer = gb18030Pointer(c);
    return 0x81308130u + (pointer / 12600 << 24) + (pointer / 1260 % 10 << 16) +
           (pointer / 10 % 126 << 8) + pointer % 10;
}

READY_CONSTEXPR const ReadyCodes kGb18030Ready(kGbIndex, kGbCodes,
                                               [](unsigned code) { return code; });

// All but the euro sign.
READY_CONSTEXPR const ReadyCodes kWindowsGbReady(kGbIndex, kGbCodes, [](unsigned code) {
    return code == 0xA2E3 ? 0 : code;
});
uint32_t windowsGbOf(char32_t c) { return c == kEuro ? 0x80 : gb18030Of(c); }

// Many readers of GBK have no euro sign.
uint32_t gbkOf(char32_t c) {
    if (c == kEuro) return 0;
    const uint32_t pair = gb18030PairOf(c);
    return isIn(kGb18030Only, pair) ? 0 : pair;
}

uint32_t gb2312Of(char32_t c) {
    const uint32_t pair = gb18030PairOf(c);
    return isIn(kGb2312, pair) ? pair : 0;
}

// -- Korean: 949 and EUC-KR

struct Ks {
    static constexpr const ReadyPairs& kPairs = kKsPairs;
    static void readOther(Source& in, Output& out) { putBad(in, out, isLead(*in.p)); }
};

uint32_t uhcOf(char32_t c) { return kKs.of(c); }
READY_CONSTEXPR const ReadyCodes kUhcReady(kKsIndex, kKsCodes, [](unsigned code) { return code; });

// KS X 1001 is the part of 949 in which both bytes are high.
uint32_t eucKrOf(char32_t c) { return ifGr(uhcOf(c)); }

// -- Chinese, traditional: 950 with Big5-HKSCS in what it leaves free

// Four codes stand for a letter and a combining mark.
struct Composed {
    uint16_t code;
    char16_t letter, mark;
};
constexpr Composed kComposed[] = {
    {0x8862, 0xCA, 0x304}, {0x8864, 0xCA, 0x30C}, {0x88A3, 0xEA, 0x304}, {0x88A5, 0xEA, 0x30C}};

READY_CONSTEXPR const ReadyPairs kBig5Pairs([](unsigned lead, unsigned trail) {
    return gridCell(kBig5Cells, lead, trail);
});

struct Big5 {
    static constexpr const ReadyPairs& kPairs = kBig5Pairs;

    static void readOther(Source& in, Output& out) {
        const unsigned code = in.size() > 1 ? in.p[0] * 256u + in.p[1] : 0;
        const unsigned cell = gridCell(kBig5Cells, code >> 8, code & 0xFF);
        if (cell != 0) {
            out.put(0x20000u | kBig5Plane2[cell & 0x7FF]);
            in.p += 2;
            return;
        }
        for (const Composed& row : kComposed) {
            if (row.code != code) continue;
            out.put(row.letter);
            out.put(row.mark);
            in.p += 2;
            return;
        }
        putBad(in, out, isLead(*in.p));
    }
};

uint32_t big5HkscsOf(char32_t c) { return kBig5.of(c); }

// All but the row in which the letters of kComposed are.
READY_CONSTEXPR const ReadyCodes kBig5Ready(kBig5Index, kBig5Codes, [](unsigned code) {
    return code >> 8 == 0x88 ? 0 : code;
});

// 950: many readers of Big5 know no others, and from 0xC6A1 to 0xC8FE vendors differ.
uint32_t big5Of(char32_t c) {
    const uint32_t code = big5HkscsOf(c);
    return code < 0xA100 || (code >= 0xC6A1 && code <= 0xC8FE) || code > 0xF9FE ? 0 : code;
}

// The code of a letter and the mark behind it, which is then skipped, or of the letter alone.
uint32_t composedCode(char32_t letter, Source& in) {
    const unsigned char* behind = in.p;
    const char32_t mark = in.isEmpty() ? 0 : utf8::next(behind, in.end);
    for (const Composed& row : kComposed) {
        if (row.letter != letter || row.mark != mark) continue;
        in.p = behind;
        return row.code;
    }
    return big5HkscsOf(letter);
}

uint32_t takeBig5(Source& in) {
    const char32_t c = utf8::next(in.p, in.end);
    return c == 0xCA || c == 0xEA ? composedCode(c, in) : big5HkscsOf(c);
}

// -- Japanese: 932 and EUC-JP

// The Shift_JIS grid: the 94 rows of JIS X 0208, a private area, the IBM characters.  The table
// for writing has those as rows 89 to 92, which repeat them.
constexpr unsigned kRows = 94;

constexpr char32_t kHalfWidthKana = 0xFF61;  // byte 0xA1, up to 0xDF
constexpr unsigned kKanaCount = 63;

// One code, two readings: Microsoft's in 932, and that of JIS in EUC-JP and ISO-2022-JP.
struct TwoForms {
    char16_t microsoft, jis;
};
constexpr TwoForms kTwoForms[] = {{0x2225, 0x2016}, {0xFF0D, 0x2212}, {0xFF5E, 0x301C},
                                  {0xFFE0, 0x00A2}, {0xFFE1, 0x00A3}, {0xFFE2, 0x00AC}};

constexpr char32_t jisForm(char32_t c) {
    if (c == 0x2225 || c >= 0xFF00)
        for (const TwoForms& row : kTwoForms)
            if (row.microsoft == c) return row.jis;
    return c;
}

READY_CONSTEXPR const ReadyPairs kShiftJisPairs([](unsigned lead, unsigned trail) -> unsigned {
    const unsigned row = lead < 0xA0 ? lead - 0x81 : lead - 0xC1;
    if (row >= 60 || (lead >= 0xA0 && row < 31) || trail > 0xFC || trail == 0x7F) return 0;
    return kJisCells[row * 188 + trail - (trail < 0x7F ? 0x40 : 0x41)];
});

struct ShiftJis {
    static constexpr const ReadyPairs& kPairs = kShiftJisPairs;

    static bool isLead(unsigned byte) { return byte - 0x81 < 31 || byte - 0xE0 < 29; }

    // The single bytes beside the kana are those that 932 maps to control and private use.
    static void readOther(Source& in, Output& out) {
        const unsigned byte = *in.p;
        if (isLead(byte)) return putBad(in, out, true);
        out.put(byte == 0x80   ? 0x80
                : byte == 0xA0 ? 0xF8F0
                : byte >= 0xFD ? 0xF8F1 + byte - 0xFD
                               : kHalfWidthKana + byte - 0xA1);
        ++in.p;
    }
};

READY_CONSTEXPR const ReadyCodes kShiftJisReady(kJisIndex, kJisCodes,
                                                [](unsigned code) { return code; });

uint32_t shiftJisCode(char32_t c) {
    if (c == 0x80) return 0x80;
    if (c - kHalfWidthKana < kKanaCount) return c - kHalfWidthKana + 0xA1;
    if (c - 0xF8F0 < 4) return c == 0xF8F0 ? 0xA0 : c - 0xF8F1 + 0xFD;
    return kJis.of(c);
}

// What a code of Shift_JIS is in JIS X 0208, of which it has two rows a lead byte; 0 in the
// private area.
constexpr uint32_t jis0208Of(uint32_t code) {
    if (code == 0) return 0;
    const uint32_t lead = code >> 8, trail = code & 0xFF;
    const uint32_t pair = lead - (lead < 0xA0 ? 0x81 : 0xC1);
    const uint32_t column = trail - (trail < 0x7F ? 0x40 : 0x41);
    const uint32_t isSecond = column >= kRows;
    if (pair >= kRows / 2) return 0;
    return 0x2121 + ((2 * pair + isSecond) << 8) + column - isSecond * kRows;
}

struct EucJp {
    static constexpr const ReadyPairs& kPairs = kJisPairs;

    // 0x8E precedes half-width kana, 0x8F the two bytes of JIS X 0212.
    static void readOther(Source& in, Output& out) {
        const unsigned char* const p = in.p;
        if (*p == 0x8E && in.size() > 1 && p[1] - 0xA1u < kKanaCount) {
            out.put(kHalfWidthKana + p[1] - 0xA1);
            in.p += 2;
        } else if (*p == 0x8F && in.size() > 1 && isGr(p[1])) {
            ++in.p;
            const unsigned c = in.size() > 1 && isGr(p[2])
                                   ? kJis0212Cells[(p[1] - 0xA1u) * kRows + p[2] - 0xA1u]
                                   : 0;
            if (c == 0) return putBad(in, out, true);
            out.put(c);
            in.p += 2;
        } else {
            putBad(in, out, isGr(*p) || *p == 0x8E || *p == 0x8F);
        }
    }
};

constexpr bool isVendorRow(uint32_t code) { return code >> 8 == 0x2D || code >> 8 > 0x74; }

READY_CONSTEXPR const ReadyCodes kEucJpReady(kJisIndex, kJisCodes, [](unsigned shiftJis) {
    const uint32_t code = jis0208Of(shiftJis);
    return code == 0 || isVendorRow(code) ? 0 : code | 0x8080;
});

uint32_t eucJpOf(char32_t c) {
    if (c - kHalfWidthKana < kKanaCount) return 0x8E00 | (c - kHalfWidthKana + 0xA1);
    if (const uint32_t code = plainJis0208Code(c)) return code | 0x8080;
    const uint32_t code0212 = kJis0212.of(c);
    return code0212 ? 0x8F0000 | code0212 : 0;
}

// The rows of vendors come last: not every reader of EUC-JP has them.
uint32_t eucJpCode(char32_t c) {
    if (const uint32_t code = eucJpOf(c)) return code;
    const uint32_t code = jis0208Code(c);
    return code ? code | 0x8080 : 0;
}

// Rather the vendor's other reading of a code than "?", though the charset lacks it.
template <uint32_t (*CodeOf)(char32_t)>
uint32_t codeOfEitherForm(char32_t c) {
    const uint32_t code = CodeOf(c);
    return code ? code : CodeOf(jisOtherForm(c));
}

template <class Charset, uint32_t (*Held)(char32_t), const auto& Codes,
          uint32_t (*TakeCode)(Source&) = take<Held>>
constexpr Codec row(int codePage) {
    return {codePage, decodePairs<Charset>, encodePairs<Codes, TakeCode>, codeOrAscii<Held>};
}

constexpr Codec kCodecs[] = {
    row<ShiftJis, shiftJisCode, kShiftJisReady, take<codeOfEitherForm<shiftJisCode>>>(932),
    row<Gb, gbkOf, kWindowsGbReady, take<windowsGbOf>>(936),
    row<Ks, uhcOf, kUhcReady>(949),
    row<Big5, big5Of, kBig5Ready, takeBig5>(950),
    row<EucJp, eucJpOf, kEucJpReady, take<codeOfEitherForm<eucJpCode>>>(51932),
    row<Gb, gb2312Of, kGb18030Ready, take<gb18030Of>>(51936),
    row<Ks, eucKrOf, kUhcReady, take<uhcOf>>(51949),
    row<Gb, gb18030Of, kGb18030Ready>(54936),
};

}  // namespace

CodecList multiByteCodecs() { return {kCodecs, std::size(kCodecs)}; }

READY_CONSTEXPR const ReadyPairs kGbPairs([](unsigned lead, unsigned trail) {
    return gridCell(kGbCells, lead, trail);
});
READY_CONSTEXPR const ReadyPairs kKsPairs([](unsigned lead, unsigned trail) {
    return gridCell(kKsCells, lead, trail);
});
READY_CONSTEXPR const ReadyPairs kJisPairs([](unsigned lead, unsigned trail) -> char32_t {
    if (!isGr(lead) || !isGr(trail)) return 0;
    return jisForm(kJisCells[(lead - 0xA1) * kRows + trail - 0xA1]);
});

char32_t jis0208Character(unsigned row, unsigned column) {
    return toJisForm(kJisCells[row * kRows + column]);
}

char32_t jis0212Character(unsigned row, unsigned column) {
    return kJis0212Cells[row * kRows + column];
}

char32_t gb2312Character(unsigned row, unsigned column) {
    return gridCell(kGbCells, 0xA1 + row, 0xA1 + column);
}

char32_t ks1001Character(unsigned row, unsigned column) {
    return gridCell(kKsCells, 0xA1 + row, 0xA1 + column);
}

uint32_t jis0208Code(char32_t c) {
    // Between the wave dash and the full-width hyphen no code has two readings.
    if (c > 0x301C && c < 0xFF0D) return jis0208Of(kJis.of(c));
    if (jisForm(c) != c) return 0;
    for (const TwoForms& row : kTwoForms)
        if (row.jis == c) c = row.microsoft;
    return jis0208Of(kJis.of(c));
}

void encodeJis0208Run(Source& in, Output& out) {
    const unsigned char* const end = runEnd(in, out.spare());
    Run run = {in.p, out.at};
    while (run.p < end && encodeFour(kEucJpReady, 0x7F7F7F7F7F7F7F7Fu, run)) {
    }
    in.p = run.p;
    out.at = run.at;
}

uint32_t plainJis0208Code(char32_t c) {
    const uint32_t code = jis0208Code(c);
    return isVendorRow(code) ? 0 : code;
}

uint32_t jis0212Code(char32_t c) { return kJis0212.of(c) & 0x7F7F; }

uint32_t gb2312Code(char32_t c) { return gb2312Of(c) & 0x7F7F; }
uint32_t gb2312PlaneCode(char32_t c) { return ifGr(gb18030PairOf(c)) & 0x7F7F; }
uint32_t ks1001Code(char32_t c) { return eucKrOf(c) & 0x7F7F; }

char32_t toJisForm(char32_t c) { return jisForm(c); }

char32_t jisOtherForm(char32_t c) {
    for (const TwoForms& row : kTwoForms) {
        if (row.microsoft == c) return row.jis;
        if (row.jis == c) return row.microsoft;
    }
    return 0;
}

}  // namespace mimetree::inner::charset
