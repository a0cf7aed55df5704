// SPDX-License-Identifier: Apache-2.0

// Conversion between code pages: finds the codecs of both sides and joins them at UTF-8.  To or
// from 65001, which is all that bodies and headers need, one codec runs alone; any other pair
// goes through a buffer of UTF-8.  Called by the body and header steps and by
// StringBuffer::convertEncoding; the codecs are in the sources beside this.

#include "foundation/EncodingConvert.h"

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
// that is common.
bool Output::roomForText(size_t n) {
    const size_t likely = n + n / 2 + 16;
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
bool run(Direction step, const Codec& codec, Source in, DataBuffer& buffer) {
    const bool isFresh = buffer.isEmpty();
    Output out(buffer);
    if (!out.roomForText(in.size()) || !step(codec, in, out)) {
        out.abandon();
        return false;
    }
    out.finish();
    // A buffer that is being filled piece by piece keeps its room for the next piece.
    if (isFresh) buffer.shrinkToFit();
    return true;
}

bool convert(const Codec& from, const Codec& to, Source in, DataBuffer& out) {
    if (to.codePage == codepage::kUtf8) return run(from.decode, from, in, out);
    if (from.codePage == codepage::kUtf8) return run(to.encode, to, in, out);
    DataBuffer text;
    if (!run(from.decode, from, in, text)) return false;
    return run(to.encode, to, {text.getData2(), text.getData2() + text.getSize()}, out);
}

// The charsets of 7 bits that switch by escape sequences, and their forms of 8 bits.
struct Forms {
    int sevenBit, eightBit;
};

constexpr Forms kForms[] = {{50220, 51932}, {50225, 51949}};

bool decodesWhole(const Codec& codec, Source in) {
    DataBuffer text;
    return run(codec.decode, codec, in, text) && !text.containsSubstring("\xEF\xBF\xBD", kMaxSize);
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
