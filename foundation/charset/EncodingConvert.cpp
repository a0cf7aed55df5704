// SPDX-License-Identifier: Apache-2.0

// Conversion between code pages: finds the codecs of both sides and joins them at UTF-8.  To or
// from 65001, which is all that bodies and headers need, one codec runs alone; any other pair
// goes through a buffer of UTF-8.  Called by the body and header steps and by
// StringBuffer::convertEncoding; the codecs are in the sources beside this.

#include "foundation/EncodingConvert.h"

#include <algorithm>
#include <cstring>

#include "foundation/DataBuffer.h"
#include "foundation/LogBase.h"
#include "foundation/bytes/bytes.h"
#include "foundation/bytes/ranges.h"
#include "foundation/charset/code_pages.h"
#include "foundation/charset/codecs.h"

using namespace mimetree::inner;

namespace mimetree::inner::charset {

Output::Output(DataBuffer& buffer) : m_buffer(buffer), m_before(buffer.getSize()) {}

// Text of two bytes per character becomes half as long again, and there is no longer kind
// that is common.  Loops over blocks want room for the longest that a block could become.
bool Output::roomForText(size_t n) {
    constexpr size_t kBlock = 256;
    const size_t likely = n + n / 2 + kBlock;
    return room(likely < kMaxSize - m_before ? likely : n);
}

// A little more than asked for, and the buffer adds its own growth: few calls come here.
bool Output::grow(size_t n) {
    constexpr size_t kSpare = 64;
    finish();
    const size_t wanted = n < kMaxSize - kSpare ? n + kSpare : n;
    if (wanted > kMaxSize) return false;
    unsigned char* const start = m_buffer.extend(static_cast<unsigned int>(wanted));
    if (!start) return false;
    at = start;
    m_end = start + wanted;
    return true;
}

bool Output::append(const void* p, size_t n) {
    if (!room(n)) return false;
    std::memcpy(at, p, n);
    at += n;
    return true;
}

void Output::finish() {
    m_buffer.shorten(static_cast<unsigned int>(m_end - at));
    m_end = at;
}

void Output::abandon() {
    m_buffer.shorten(m_buffer.getSize() - m_before);
    at = m_end = nullptr;
}

Source behindMark(Source in) {
    constexpr size_t kSize = 3;
    const bool hasMark = in.size() >= kSize && std::memcmp(in.p, "\xEF\xBB\xBF", kSize) == 0;
    return {hasMark ? in.p + kSize : in.p, in.end};
}

}  // namespace mimetree::inner::charset

namespace {

using charset::Codec;
using charset::Output;
using charset::Source;

const Codec* findCodec(int codePage) {
    const charset::CodecList lists[] = {charset::unicodeCodecs(), charset::singleByteCodecs(),
                                        charset::multiByteCodecs(), charset::statefulCodecs()};
    for (const charset::CodecList& list : lists)
        for (const Codec& codec : list)
            if (codec.codePage == codePage) return &codec;
    return nullptr;
}

using Direction = bool (*)(const Codec& codec, Source in, Output& out);

// Appends what one direction of a codec makes of the bytes, or nothing.
bool append(Direction step, const Codec& codec, Source in, DataBuffer& buffer) {
    Output out(buffer);
    if (!out.roomForText(in.size()) || !step(codec, in, out)) {
        out.abandon();
        return false;
    }
    out.finish();
    return true;
}

// A buffer that is being filled piece by piece keeps its room for the next piece.
bool run(Direction step, const Codec& codec, Source in, DataBuffer& buffer) {
    const bool isFresh = buffer.isEmpty();
    if (!append(step, codec, in, buffer)) return false;
    if (isFresh) buffer.shrinkToFit();
    return true;
}

// -- Long texts

constexpr size_t kPiece = 16 * 1024;

bool isSingleByte(const Codec& codec) {
    const charset::CodecList singles = charset::singleByteCodecs();
    return &codec >= singles.begin() && &codec < singles.end();
}

// In most charsets a line begins in the state in which the text does.
bool beginsAnewWithEachLine(const Codec& codec) {
    constexpr int kUtf7 = 65000, kHz = 52936;
    const int codePage = codec.codePage;
    return !codepage::isUtf16Or32(codePage) && codePage != codepage::kUtf8 && codePage != kUtf7 &&
           codePage != kHz;
}

// What of the text can be decoded by itself; all of it where nothing tells a place to cut.
Source firstPiece(const Codec& codec, Source in) {
    if (in.size() <= kPiece || !beginsAnewWithEachLine(codec)) return in;
    const unsigned char* end = in.p + kPiece;
    if (!isSingleByte(codec))
        while (end != in.p && end[-1] != '\n') --end;
    return end == in.p ? in : Source{in.p, end};
}

// Room in `buffer` for one piece after the other: as much as the pieces so far say that the rest
// will take.  The bound of what it may take is several times the text.
class PieceRoom {
public:
    PieceRoom(DataBuffer& buffer, Source in)
        : m_buffer(buffer), m_before(buffer.getSize()), m_in(in) {}

    bool make(Source piece) {
        const uint64_t size = m_buffer.getSize();
        const uint64_t needed = size + kLongest * piece.size() + kSlack;
        if (needed <= m_reserved) return true;
        m_reserved = std::min<uint64_t>(std::max(needed, likely(piece)), kMaxSize);
        return m_buffer.reserve(static_cast<unsigned>(m_reserved));
    }

private:
    static constexpr unsigned kLongest = 3;  // bytes of UTF-8 for a byte
    static constexpr unsigned kSlack = 128;

    // Limit: one step makes no more room than twice the text, or else for a quarter of it.
    uint64_t likely(Source piece) const {
        const uint64_t size = m_buffer.getSize(), made = size - m_before;
        const auto taken = static_cast<uint64_t>(piece.p - m_in.p);
        if (taken == 0) return 0;
        const auto left = static_cast<uint64_t>(m_in.end - piece.p);
        const uint64_t atThatRate = made * left / taken;
        const uint64_t whole = m_in.size();
        return std::min(size + atThatRate + atThatRate / 16,
                        std::max(m_before + 2 * whole, size + whole / 4));
    }

    DataBuffer& m_buffer;
    const unsigned m_before;
    const Source m_in;
    uint64_t m_reserved = 0;
};

bool decode(const Codec& codec, Source in, DataBuffer& buffer) {
    if (firstPiece(codec, in).end == in.end) return run(codec.decode, codec, in, buffer);
    const unsigned before = buffer.getSize();
    PieceRoom room(buffer, in);
    for (Source rest = in; !rest.isEmpty();) {
        const Source piece = firstPiece(codec, rest);
        if (!room.make(piece) || !append(codec.decode, codec, piece, buffer)) {
            buffer.shorten(buffer.getSize() - before);
            return false;
        }
        rest.p = piece.end;
    }
    if (before == 0) buffer.shrinkToFit();
    return true;
}

// A text that becomes UTF-8 where it stands: what is made, a gap, and what is not read yet.
class InPlace {
public:
    InPlace(const Codec& codec, DataBuffer& text)
        : m_codec(codec), m_text(text), m_whole(text.getSize()) {}

    bool run() {
        DataBuffer piece;
        for (m_begin = m_text.getData2_rw(); m_begin && m_from != m_text.getSize();) {
            const unsigned left = m_text.getSize() - m_from;
            const unsigned taken = left < kPiece ? left : unsigned{kPiece};
            const unsigned char* const from = m_begin + m_from;
            piece.shorten(piece.getSize());
            if (!append(m_codec.decode, m_codec, {from, from + taken}, piece)) return false;
            m_from += taken;
            if (m_from - m_to < piece.getSize() && !widen(piece.getSize(), taken)) return false;
            std::memcpy(m_begin + m_to, piece.getData2(), piece.getSize());
            m_to += piece.getSize();
        }
        m_text.shorten(m_text.getSize() - m_to);
        m_text.shrinkToFit();
        return m_begin != nullptr;
    }

private:
    // As wide as the rest needs if it grows as the last piece did.
    bool widen(unsigned made, unsigned taken) {
        const unsigned left = m_text.getSize() - m_from;
        const uint64_t likely = uint64_t{left} * (made - taken) / taken;
        const uint64_t size = m_text.getSize();
        const uint64_t allowed = std::max(uint64_t{m_whole} * 2, size + m_whole / 4);
        const uint64_t more = std::max<uint64_t>(std::min(made + likely, allowed - size), made);
        if (more > kMaxSize - m_text.getSize()) return m_text.markFailed(), false;
        const unsigned wider = static_cast<unsigned>(more);
        if (!m_text.reserve(m_text.getSize() + wider) || !m_text.extend(wider)) return false;
        m_begin = m_text.getData2_rw();
        std::memmove(m_begin + m_from + wider, m_begin + m_from, left);
        m_from += wider;
        return true;
    }

    const Codec& m_codec;
    DataBuffer& m_text;
    const unsigned m_whole;
    unsigned char* m_begin = nullptr;
    unsigned m_to = 0, m_from = 0;
};

bool convert(const Codec& from, const Codec& to, Source in, DataBuffer& out) {
    if (to.codePage == codepage::kUtf8) return decode(from, in, out);
    if (from.codePage == codepage::kUtf8) return run(to.encode, to, in, out);
    DataBuffer text;
    if (!decode(from, in, text)) return false;
    return run(to.encode, to, {text.getData2(), text.getData2() + text.getSize()}, out);
}

// The charsets of 7 bits that switch by escape sequences, and their forms of 8 bits.
struct Forms {
    int sevenBit, eightBit;
};

constexpr Forms kForms[] = {{50220, 51932}, {50225, 51949}};

bool decodesWhole(const Codec& codec, Source in) {
    DataBuffer text;
    return decode(codec, in, text) && !text.containsSubstring("\xEF\xBF\xBD", kMaxSize);
}

// Tolerated: 8-bit text that is labelled with a charset of 7 bits by a mailer that forgot to
// convert it.  It is read as UTF-8, or in the 8-bit form of the charset, when that reads all of
// it.
const Codec* actualCodec(const Codec* declared, Source in) {
    for (const Forms& forms : kForms) {
        if (!declared || declared->codePage != forms.sevenBit) continue;
        if (bytes::isAscii(reinterpret_cast<const char*>(in.p), in.size())) return declared;
        if (utf8::validPrefix(in.p, in.size()) == in.size()) return findCodec(codepage::kUtf8);
        const Codec* const eightBit = findCodec(forms.eightBit);
        return decodesWhole(*eightBit, in) ? eightBit : declared;
    }
    return declared;
}

}  // namespace

bool EncodingConvert::EncConvert(int fromCodePage, int toCodePage, const unsigned char* data,
                                 unsigned int length, DataBuffer& out, LogBase& log) {
    if (!data || length == 0) return true;
    const Codec* const from = actualCodec(findCodec(fromCodePage), {data, data + length});
    const Codec* const to = findCodec(toCodePage);
    if (!from || !to) {
        log.verboseLong("codePageNotConverted", from ? toCodePage : fromCodePage);
        return out.append(data, length);
    }
    if (!out.owns(data)) return convert(*from, *to, {data, data + length}, out);
    DataBuffer result;  // `out` would move its own bytes while they are read
    return convert(*from, *to, {data, data + length}, result) && out.append(result);
}

bool EncodingConvert::canBeInPlace(int codePage) {
    const Codec* const codec = findCodec(codePage);
    return codec && charset::isTotalSingleByte(*codec);
}

bool EncodingConvert::toUtf8InPlace(int codePage, DataBuffer& text) {
    const Codec* const codec = findCodec(codePage);
    if (codec && InPlace(*codec, text).run()) return true;
    text.markFailed();
    return false;
}

bool EncodingConvert::canHold(int codePage, const char* utf8, unsigned int length) {
    const Codec* const codec = findCodec(codePage);
    if (!codec || !codec->codeOf || !utf8) return codec != nullptr;
    const unsigned char* p = reinterpret_cast<const unsigned char*>(utf8);
    const unsigned char* const end = p + length;
    while (p != end) {
        const char32_t c = utf8::next(p, end);
        if (codec->codeOf(*codec, c) == 0 && c != 0) return false;
    }
    return true;
}

bool EncodingConvert::isKnown(int codePage) { return findCodec(codePage) != nullptr; }
