// SPDX-License-Identifier: Apache-2.0

// Raw 8-bit text in header fields, which no standard allows but UTF-8 (RFC 6532).  MimeHeader
// asks for a judgement when it loads such a line, and for UTF-8 when a value is read.

#include "foundation/header/high_bytes.h"

#include <cstring>
#include <string_view>

#include "foundation/DataBuffer.h"
#include "foundation/EncodingConvert.h"
#include "foundation/LogNull.h"
#include "foundation/StringBuffer.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"
#include "foundation/bytes/ranges.h"
#include "foundation/bytes/utf8.h"
#include "foundation/charset/code_pages.h"
#include "foundation/coding/EncodedWords.h"

using namespace mimetree::inner;

namespace {

// A value in pieces: encoded words of kind Q that hold such bytes, and what stands between.
class Pieces {
public:
    Pieces(const char* p, const char* end) : m_at(p), m_end(end), m_search(p) {}

    bool next();

    const char* first = nullptr;
    const char* last = nullptr;  // behind it
    bool isWord = false;

private:
    static bool isRawWord(const char* word, unsigned size);

    const char* m_at;
    const char* const m_end;
    const char* m_search;
    const char* m_word = nullptr;  // the next one, where it was found already
};

bool Pieces::next() {
    if (m_at == m_end) return false;
    unsigned size = 0;
    while (!m_word && (m_word = findEncodedWord(m_search, sizeOf(m_search, m_end), size))) {
        m_search = m_word + size;
        if (!isRawWord(m_word, size)) m_word = nullptr;
    }
    isWord = m_at == m_word;
    first = m_at;
    last = isWord ? m_search : m_word ? m_word : m_end;
    if (isWord) m_word = nullptr;
    m_at = last;
    return true;
}

// "=?charset?Q?text?="
bool Pieces::isRawWord(const char* word, unsigned size) {
    const char* const mark = static_cast<const char*>(std::memchr(word + 2, '?', size));
    return (mark[1] == 'q' || mark[1] == 'Q') && !bytes::isAscii(word, size);
}

// RFC 2047 4.2: any byte may be written as an escape.
void appendWithEscapes(const char* p, const char* end, DataBuffer& out) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    for (; p != end; ++p) {
        const unsigned c = static_cast<unsigned char>(*p);
        const char escape[] = {'=', kHex[c >> 4], kHex[c & 15]};
        if (c < 0x80) out.append(p, 1);
        else out.append(escape, sizeof escape);
    }
}

bool convert(int codePage, const char* p, const char* end, DataBuffer& out) {
    LogNull log;
    return EncodingConvert::EncConvert(codePage, codepage::kUtf8, asBytes(p), sizeOf(p, end), out,
                                       log);
}

// Tolerated: text that was shortened to so many bytes, in the middle of a character.  One that
// is whole must stand in front, or it may as well be Latin-1.
bool isUtf8ButForOne(std::string_view text, size_t valid) {
    const unsigned char* const p = asBytes(text.data());
    const size_t size = text.size();
    size_t cut = valid;
    while (cut < size && p[cut] >= 0x80) ++cut;
    return !bytes::isAscii(text.data(), valid) && utf8::isCutSequence(p + valid, cut - valid) &&
           bytes::isAscii(text.data() + cut, size - cut);
}

// A text without words, whose bytes are their own; one that has none is not copied.
bool leaveOutWords(std::string_view& text, StringBuffer& pieces) {
    const char* const end = text.data() + text.size();
    for (Pieces piece(text.data(), end); piece.next();) {
        if (!piece.isWord && sizeOf(piece.first, piece.last) == text.size()) return true;
        if (piece.isWord) pieces.appendChar(' ');
        else pieces.appendN(piece.first, sizeOf(piece.first, piece.last));
    }
    text = {pieces.getString(), pieces.getSize()};
    return !pieces.failed();
}

// Windows-1252: what stands within words, and signs that stand at their ends.
constexpr ByteSet kWesternLetters = ByteSet("\x8A\x8C\x8E\x9A\x9C\x9E\x9F")
                                        .range('A', 'Z')
                                        .range('a', 'z')
                                        .range('\xC0', '\xFF')
                                        .without("\xD7\xF7");
constexpr ByteSet kWesternSigns =
    ByteSet("\x80\x82\x84\x85\x96\x97\x99").range('\x91', '\x94').range('\xA0', '\xBF');
constexpr ByteSet kSignsInWords = ByteSet("\x92\x96\x97\xA0\xAD\xB4\xB7");

// Whether bytes that nothing is known about make words of a western language.  Three of them in
// a row, or a sign within a word, are another script.
bool looksWestern(std::string_view text) {
    const char* const p = text.data();
    unsigned run = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        run = static_cast<unsigned char>(p[i]) < 0x80 ? 0 : run + 1;
        if (run == 0 || kWesternLetters.has(p[i])) {
            if (run > 2) return false;
            continue;
        }
        const bool isWithin = i > 0 && i + 1 < text.size() && kWesternLetters.has(p[i - 1]) &&
                              kWesternLetters.has(p[i + 1]);
        if (run > 2 || !kWesternSigns.has(p[i]) || (isWithin && !kSignsInWords.has(p[i])))
            return false;
    }
    return true;
}

}  // namespace

// Order is behaviour: the surest sign is tried first.
bool mimetree::inner::readHighBytes(const char* line, unsigned int size, int given,
                                    const int (&candidates)[2], HighBytes& reading) {
    StringBuffer pieces;
    std::string_view text(line, size);
    if (!leaveOutWords(text, pieces)) return false;
    const size_t valid = utf8::validPrefix(asBytes(text.data()), text.size());
    reading = {codepage::kUtf8, Trust::Sure};
    if (valid == text.size()) return true;
    reading.trust = Trust::Doubtful;
    if (isUtf8ButForOne(text, valid)) return true;
    reading.trust = Trust::Sure;
    if (given) return true;
    for (const int codePage : candidates) {
        if (!EncodingConvert::isKnown(codePage) || !EncodingConvert::keepsAscii(codePage)) continue;
        DataBuffer utf8;
        if (!convert(codePage, text.data(), text.data() + text.size(), utf8)) return false;
        reading.codePage = codePage;
        if (utf8::isCleanText(utf8.getData2(), utf8.getSize())) return true;
    }
    reading = {codepage::kWindows1252, looksWestern(text) ? Trust::Sure : Trust::Doubtful};
    return true;
}

// Tolerated: raw bytes within an encoded word, which are in its charset.
bool mimetree::inner::appendHighBytes(const char* value, const char* end, int codePage,
                                      StringBuffer& out) {
    DataBuffer utf8;
    for (Pieces piece(value, end); piece.next();)
        if (piece.isWord) appendWithEscapes(piece.first, piece.last, utf8);
        else if (!convert(codePage, piece.first, piece.last, utf8)) return false;
    if (utf8.failed()) return false;
    return out.isEmpty() ? out.takeFromDb(utf8) : out.append(utf8);
}
