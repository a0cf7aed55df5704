// SPDX-License-Identifier: Apache-2.0

// Charsets that switch between ASCII and double-byte sets within seven bits: ISO-2022-JP,
// ISO-2022-KR and HZ.  Reading accepts the wider forms that mail has (half-width kana, JIS X
// 0212, GB2312 and KS X 1001 in Japanese text); writing keeps to the RFC where the RFC has the
// character, uses those forms where it has not, and ends in ASCII.
// Listed for EncodingConvert.cpp; the character sets are in multi.cpp.

#include <cstring>
#include <iterator>
#include <string_view>

#include "foundation/bytes/ByteSet.h"
#include "foundation/charset/runs.h"

namespace mimetree::inner::charset {
namespace stateful {
namespace {

constexpr unsigned char kEsc = 0x1B, kShiftOut = 0x0E, kShiftIn = 0x0F;

// Bytes of ASCII text that cannot change the state.
constexpr ByteSet kIsoPlain = ByteSet().range('\0', '\x7F').without("\x1B\x0E\x0F");
constexpr ByteSet kHzPlain = ByteSet().range('\0', '\x7F').without("~");

const unsigned char* plainEnd(Source in, const ByteSet& plain) {
    while (!in.isEmpty() && plain.has(static_cast<char>(*in.p))) ++in.p;
    return in.p;
}

bool copyPlain(Source& in, Output& out, const ByteSet& plain) {
    const unsigned char* const stop = plainEnd(in, plain);
    const bool isDone = out.append(in.p, static_cast<size_t>(stop - in.p));
    in.p = stop;
    return isDone;
}

// -- Reading

bool isGl(unsigned byte) { return byte - 0x21 < 94; }

using CharacterAt = char32_t (*)(unsigned row, unsigned column);

// Reads one character of a double-byte set.  Controls and blanks stand for themselves, so that
// no line break is lost.
void readPair(Source& in, Output& out, CharacterAt characterAt) {
    const unsigned lead = *in.p++;
    if (!isGl(lead)) return out.put(lead < 0x80 ? lead : kReplacement);
    const unsigned trail = in.isEmpty() ? 0 : *in.p;
    if (!isGl(trail)) return out.put(kReplacement);
    ++in.p;
    const char32_t c = characterAt(lead - 0x21, trail - 0x21);
    out.put(c ? c : kReplacement);
}

// A set that is designated by an escape sequence: its characters come from `single` or `pair`;
// one with neither is ASCII.
struct CodedSet {
    std::string_view escape;  // of two or three characters
    char32_t (*single)(unsigned byte);
    CharacterAt pair;
    const ReadyPairs* ready = nullptr;  // most of what `pair` gives
};

// JIS X 0201: ASCII but for two characters.
char32_t romanCharacter(unsigned byte) {
    return byte == 0x5C ? 0xA5 : byte == 0x7E ? 0x203E : byte < 0x80 ? byte : kReplacement;
}

char32_t kanaCharacter(unsigned byte) {
    return byte - 0x21 < 63 ? 0xFF61 + byte - 0x21 : byte <= 0x20 ? byte : kReplacement;
}

// Characters that JIS has in another form are written in that: they are read in it, too.
template <CharacterAt At>
char32_t inJisForm(unsigned row, unsigned column) {
    return toJisForm(At(row, column));
}

// RFC 1468 and, from "(I" on, what RFC 1554, RFC 2237 and Windows (50221) add to it.  "(H" is
// an old mistake for "(J".
constexpr CodedSet kJapaneseSets[] = {
    {"(B", nullptr, nullptr},
    {"(J", romanCharacter, nullptr},
    {"$@", nullptr, jis0208Character, &kJisPairs},
    {"$B", nullptr, jis0208Character, &kJisPairs},
    {"(I", kanaCharacter, nullptr},
    {"(H", romanCharacter, nullptr},
    {"$(@", nullptr, jis0208Character, &kJisPairs},
    {"$(B", nullptr, jis0208Character, &kJisPairs},
    {"$(D", nullptr, jis0212Character},
    {"$A", nullptr, inJisForm<gb2312Character>},
    {"$(A", nullptr, inJisForm<gb2312Character>},
    {"$(C", nullptr, inJisForm<ks1001Character>},
};
constexpr const CodedSet* kAscii = kJapaneseSets;
constexpr const CodedSet* kKana = kJapaneseSets + 4;

// The set that the escape sequence at `in` designates, which is then skipped, or null.
const CodedSet* readEscape(Source& in) {
    const unsigned char* const p = in.p + 1;
    for (const CodedSet& set : kJapaneseSets) {
        const std::string_view escape = set.escape;
        if (in.size() <= escape.size() || *p != escape[0] || p[1] != escape[1]) continue;
        if (escape.size() == 3 && p[2] != escape[2]) continue;
        in.p += 1 + escape.size();
        return &set;
    }
    return nullptr;
}

void readCharacter(Source& in, Output& out, const CodedSet& set) {
    if (set.pair) return readPair(in, out, set.pair);
    const unsigned byte = *in.p++;
    out.put(set.single ? set.single(byte) : byte < 0x80 ? byte : kReplacement);
}

// Tolerated: SO and SI around half-width kana (Windows 50222).  A line break ends every set but
// ASCII, so that a lost escape sequence spoils one line only.
bool decodeJapanese(const Codec&, Source in, Output& out) {
    const CodedSet* set = kAscii;
    while (!in.isEmpty()) {
        if (set == kAscii && !copyPlain(in, out, kIsoPlain)) return false;
        if (in.isEmpty()) break;
        if (!out.room(kAhead)) return false;
        if (set->ready && decodeRun7(*set->ready, in, out)) continue;
        const unsigned char byte = *in.p;
        if (byte == kShiftOut || byte == kShiftIn) {
            set = byte == kShiftOut ? kKana : kAscii;
            ++in.p;
        } else if (byte != kEsc) {
            if (byte == '\n') set = kAscii;
            readCharacter(in, out, *set);
        } else if (const CodedSet* const next = readEscape(in)) {
            set = next;
        } else {
            out.put(kReplacement);
            ++in.p;
        }
    }
    return true;
}

// RFC 1557: ESC $ ) C announces KS X 1001, SO and SI switch to it and back.
bool decodeKorean(const Codec&, Source in, Output& out) {
    bool isShifted = false;
    while (!in.isEmpty()) {
        if (!isShifted && !copyPlain(in, out, kIsoPlain)) return false;
        if (in.isEmpty()) break;
        if (!out.room(kAhead)) return false;
        if (isShifted && decodeRun7(kKsPairs, in, out)) continue;
        const unsigned char byte = *in.p;
        if (byte == kShiftOut || byte == kShiftIn) {
            isShifted = byte == kShiftOut;
            ++in.p;
        } else if (byte == kEsc && in.size() >= 4 && std::memcmp(in.p + 1, "$)C", 3) == 0) {
            in.p += 4;
        } else {
            if (byte == '\n') isShifted = false;
            if (isShifted && byte != kEsc) {
                readPair(in, out, ks1001Character);
            } else {
                out.put(byte < 0x80 && byte != kEsc ? byte : kReplacement);
                ++in.p;
            }
        }
    }
    return true;
}

// RFC 1843: "~{" and "~}" switch, "~~" is a tilde, "~" at the end of a line joins it to the next.
// A tilde that begins nothing of this is bad; what follows it is read as usual.
void readTilde(Source& in, Output& out, bool& isShifted) {
    const unsigned following = in.size() > 1 ? in.p[1] : 0;
    in.p += 2;
    switch (following) {
        case '{': isShifted = true; return;
        case '}': isShifted = false; return;
        case '~': return out.put('~');
        case '\n': return;
        case '\r':
            if (in.isEmpty() || *in.p != '\n') break;
            ++in.p;
            return;
    }
    out.put(kReplacement);
    --in.p;
}

bool decodeHz(const Codec&, Source in, Output& out) {
    bool isShifted = false;
    while (!in.isEmpty()) {
        if (!isShifted && !copyPlain(in, out, kHzPlain)) return false;
        if (in.isEmpty()) break;
        if (!out.room(kAhead)) return false;
        if (isShifted && decodeRun7(kGbPairs, in, out)) continue;
        if (*in.p == '\n') isShifted = false;
        if (*in.p == '~') {
            readTilde(in, out, isShifted);
        } else if (isShifted) {
            readPair(in, out, gb2312Character);
        } else {
            out.put(*in.p < 0x80 ? *in.p : kReplacement);
            ++in.p;
        }
    }
    return true;
}

// -- Writing

// Codes carry the number of their set in the upper half.
constexpr unsigned kSetShift = 16;
constexpr uint32_t inSet(unsigned set, uint32_t code) { return code ? set << kSetShift | code : 0; }

bool isShiftControl(char32_t c) { return c == kEsc || c == kShiftOut || c == kShiftIn; }

// The sets of Japanese text, in the order of kJapanese's designators.
enum : unsigned { kJis0208 = 1, kRoman, kHalfWidth, kJis0212, kGb2312, kKs1001 };

uint32_t japaneseCode(char32_t c) {
    if (c < 0x80) return isShiftControl(c) ? 0 : c;
    if (c == 0xA5) return inSet(kRoman, 0x5C);
    if (c == 0x203E) return inSet(kRoman, 0x7E);
    return inSet(kJis0208, plainJis0208Code(c));
}

uint32_t japaneseWrittenCode(char32_t c) {
    if (const uint32_t code = japaneseCode(c)) return code;
    if (const uint32_t code = jis0208Code(c)) return inSet(kJis0208, code);
    if (c - 0xFF61 < 63) return inSet(kHalfWidth, 0x21 + c - 0xFF61);
    if (const uint32_t code = jis0208Code(jisOtherForm(c))) return inSet(kJis0208, code);
    if (const uint32_t code = jis0212Code(c)) return inSet(kJis0212, code);
    if (const uint32_t code = gb2312Code(c)) return inSet(kGb2312, code);
    if (const uint32_t code = ks1001Code(c)) return inSet(kKs1001, code);
    return inSet(kGb2312, gb2312PlaneCode(c));
}

uint32_t koreanCode(char32_t c) {
    if (c < 0x80) return isShiftControl(c) ? 0 : c;
    return inSet(1, ks1001Code(c));
}

uint32_t hzCode(char32_t c) {
    if (c < 0x80) return c == '~' ? 0x7E7E : c;
    return inSet(1, gb2312Code(c));
}

// The last row would begin with a tilde.
uint32_t hzWrittenCode(char32_t c) {
    if (c < 0x80) return hzCode(c);
    const uint32_t code = gb2312PlaneCode(c);
    return code >> 8 == '~' ? 0 : inSet(1, code);
}

struct Writer {
    const char* designators[7];  // for ASCII and the sets that codes name
    uint32_t (*codeOf)(char32_t c);
    const ByteSet& plain;
    void (*encodeRun)(Source& in, Output& out) = nullptr;  // what is common in the first set
};

constexpr Writer kJapanese = {
    {"\x1B(B", "\x1B$B", "\x1B(J", "\x1B(I", "\x1B$(D", "\x1B$A", "\x1B$(C"},
    japaneseWrittenCode,
    kIsoPlain,
    encodeJis0208Run};
constexpr Writer kKorean = {{"\x0F", "\x0E"}, koreanCode, kIsoPlain};
constexpr Writer kHz = {{"~}", "~{"}, hzWrittenCode, kHzPlain};

bool encodeShifting(const Writer& writer, Source in, Output& out) {
    in = behindMark(in);
    unsigned set = 0;
    const auto designate = [&](unsigned wanted) {
        if (wanted == set) return true;
        set = wanted;
        return out.append(writer.designators[set], std::strlen(writer.designators[set]));
    };
    while (!in.isEmpty()) {
        if (set == 0 && !copyPlain(in, out, writer.plain)) return false;
        if (set == 1 && writer.encodeRun) writer.encodeRun(in, out);
        if (in.isEmpty()) break;
        const char32_t c = utf8::next(in.p, in.end);
        const uint32_t code = writer.codeOf(c);
        if (!designate(code >> kSetShift) || !out.room(2)) return false;
        if (c == 0) *out.at++ = 0;
        else out.putCode(code & 0xFFFF);
    }
    return designate(0);
}

template <const Writer& Rules>
bool encode(const Codec&, Source in, Output& out) {
    return encodeShifting(Rules, in, out);
}

// RFC 1557: the announcement stands once, at the beginning of a line before the first shift.
bool encodeKorean(const Codec&, Source in, Output& out) {
    if (plainEnd(in, kIsoPlain) != in.end && !out.append("\x1B$)C", 4)) return false;
    return encodeShifting(kKorean, in, out);
}

template <uint32_t (*CodeOf)(char32_t)>
uint32_t held(const Codec&, char32_t c) {
    return CodeOf(c);
}

constexpr Codec kCodecs[] = {
    {50220, decodeJapanese, encode<kJapanese>, held<japaneseCode>},
    {50225, decodeKorean, encodeKorean, held<koreanCode>},
    {52936, decodeHz, encode<kHz>, held<hzCode>},
};

}  // namespace
}  // namespace stateful

CodecList statefulCodecs() { return {stateful::kCodecs, std::size(stateful::kCodecs)}; }

}  // namespace mimetree::inner::charset
