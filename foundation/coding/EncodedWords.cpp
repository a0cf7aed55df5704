// SPDX-License-Identifier: Apache-2.0
//
// RFC 2047 encoded words, both ways.  Reading: WordScanner finds the words, forEachPiece
// hands words and the text between them to a sink, which joins, decodes and converts.
// StringBuffer::qbDecode and the members of ContentCoding that stand at the end read header
// values through it.  Writing: WordWriter cuts a text into words that fit their lines;
// HeaderWriter.cpp calls it.

#include "foundation/coding/EncodedWords.h"

#include "foundation/bytes/ByteSet.h"
#include "foundation/ContentCoding.h"
#include "foundation/DataBuffer.h"
#include "foundation/EncodingConvert.h"
#include "foundation/LogNull.h"
#include "foundation/StringBuffer.h"
#include "foundation/_zqCharset.h"
#include "foundation/_zqUtf.h"
#include "foundation/bytes/bytes.h"
#include "foundation/charset/code_pages.h"

#include <cstring>

using namespace mimetree::inner;

namespace {

unsigned sizeOf(const char* begin, const char* end) { return static_cast<unsigned>(end - begin); }

const unsigned char* asBytes(const char* p) { return reinterpret_cast<const unsigned char*>(p); }

// -- Finding words

enum class Coding { Base64, Quoted, Verbatim };
enum class Accept { KnownCharsets, AnyCharsetAnd8bit };

struct Word {
    const char* begin;
    const char* end;
    const char* text;
    unsigned textSize;
    Coding coding;
    int codePage;  // 0 where charsets do not matter
};

class WordScanner {
public:
    WordScanner(const char* text, const char* end, Accept accept)
        : m_at(text), m_end(end), m_close(text), m_accept(accept) {}

    // Moves to the next word that is well formed; false when there is none.
    bool next();
    const Word& word() const { return m_word; }

private:
    bool readHead(const char* p, Word& word) const;
    bool readCoding(const char* p, Word& word) const;
    bool readText(Word& word);
    bool knowsCharset(Word& word) const;
    bool holdsHead(const char* p, const char* end) const;
    const char* closeFrom(const char* p);

    const char* m_at;
    const char* m_end;
    const char* m_close;  // the first "?=" behind the last place that was asked about
    const Accept m_accept;
    Word m_word = {};
};

bool WordScanner::next() {
    while (const char* start = bytes::find(m_at, static_cast<size_t>(m_end - m_at), "=?", 2)) {
        m_at = start + 2;
        if (readHead(start, m_word) && readText(m_word) && knowsCharset(m_word)) {
            m_at = m_word.end;
            return true;
        }
    }
    return false;
}

// RFC 2047 2: "=?charset?coding?"; RFC 2231 5 adds "*language" to the charset.
bool WordScanner::readHead(const char* p, Word& word) const {
    word.begin = p;
    const char* q = p + 2;
    while (q != m_end && kTokenBytes.has(*q)) ++q;
    return q != p + 2 && readCoding(q, word);
}

bool WordScanner::readCoding(const char* p, Word& word) const {
    struct Row {
        const char* mark;
        unsigned size;
        Coding coding;
    };
    static constexpr Row kRows[] = {
        {"?b?", 3, Coding::Base64}, {"?q?", 3, Coding::Quoted}, {"?8bit?", 6, Coding::Verbatim}};
    for (const Row& row : kRows) {
        if (row.coding == Coding::Verbatim && m_accept == Accept::KnownCharsets) continue;
        if (sizeOf(p, m_end) < row.size || !bytes::equalIgnoreCase(p, row.mark, row.size)) continue;
        word.coding = row.coding;
        word.text = p + row.size;
        return true;
    }
    return false;
}

// Tolerated: text of any length, with blanks and question marks in it.  But where another
// word begins before the "?=" that "?=" is its own, and this one was never closed.
bool WordScanner::readText(Word& word) {
    const char* close = closeFrom(word.text);
    if (close == m_end) return false;
    word.textSize = sizeOf(word.text, close);
    word.end = close + 2;
    return word.coding == Coding::Verbatim || !holdsHead(word.text, close);
}

bool WordScanner::holdsHead(const char* p, const char* end) const {
    Word inner;
    while ((p = bytes::find(p, static_cast<size_t>(end - p), "=?", 2)) != nullptr) {
        if (readHead(p, inner)) return true;
        p += 2;
    }
    return false;
}

// Limit: the place is kept, so that a thousand words that are never closed cost one search.
const char* WordScanner::closeFrom(const char* p) {
    if (m_close < p) {
        const char* found = bytes::find(p, static_cast<size_t>(m_end - p), "?=", 2);
        m_close = found ? found : m_end;
    }
    return m_close;
}

bool WordScanner::knowsCharset(Word& word) const {
    word.codePage = 0;
    if (m_accept == Accept::AnyCharsetAnd8bit) return true;
    const char* name = word.begin + 2;
    unsigned size = 0;
    while (name[size] != '?' && name[size] != '*') ++size;
    word.codePage = _zqCharset::codePageOf(name, size);
    return EncodingConvert::isKnown(word.codePage);
}

// -- Reading words

// RFC 2047 4.2.  An escape without two hexadecimal digits stands.
bool decodeQ(const char* p, const char* end, DataBuffer& out) {
    if (p == end) return true;
    const unsigned room = sizeOf(p, end);
    unsigned char* const first = out.extend(room);
    if (!first) return false;
    unsigned char* to = first;
    while (p != end) {
        const int high = *p == '=' && end - p > 2 ? bytes::hexValue(p[1]) : -1;
        const int low = high < 0 ? -1 : bytes::hexValue(p[2]);
        if (low >= 0) {
            *to++ = static_cast<unsigned char>(high * 16 + low);
            p += 3;
        } else {
            *to++ = static_cast<unsigned char>(*p == '_' ? ' ' : *p);
            ++p;
        }
    }
    out.shorten(room - static_cast<unsigned>(to - first));
    return true;
}

bool appendBytes(const Word& word, DataBuffer& out) {
    switch (word.coding) {
        case Coding::Base64: return ContentCoding::decodeBase64ToDb(word.text, word.textSize, out);
        case Coding::Quoted: return decodeQ(word.text, word.text + word.textSize, out);
        default: return out.append(word.text, word.textSize);
    }
}

bool isAllSpace(const char* p, const char* end) {
    while (p != end && bytes::isSpace(*p)) ++p;
    return p == end;
}

// RFC 2047 6.2: white space between two words is not part of the text.
template <class Sink>
bool forEachPiece(const char* text, unsigned size, Accept accept, Sink& sink) {
    const char* const end = text + size;
    WordScanner words(text, end, accept);
    const char* plain = text;
    for (bool afterWord = false; words.next(); afterWord = true) {
        const Word& word = words.word();
        const bool isGap = afterWord && isAllSpace(plain, word.begin);
        if (!isGap && !sink.addText(plain, sizeOf(plain, word.begin))) return false;
        if (!sink.addWord(word)) return false;
        plain = word.end;
    }
    return sink.addText(plain, sizeOf(plain, end));
}

// Converts to UTF-8.  Tolerated: a character that is cut in two, so the bytes of words that
// follow one another in one charset are converted together.
class Utf8Sink {
public:
    explicit Utf8Sink(StringBuffer& out) : m_out(out) {}

    bool addText(const char* p, unsigned n) { return flush() && m_out.appendN(p, n); }

    bool addWord(const Word& word) {
        if (word.codePage != m_codePage && !flush()) return false;
        m_codePage = word.codePage;
        return appendBytes(word, m_pending);
    }

private:
    bool flush() {
        if (m_pending.isEmpty()) return true;
        m_text.shorten(m_text.getSize());
        const bool converted = EncodingConvert::EncConvert(
            m_codePage, codepage::kUtf8, m_pending.getData2(), m_pending.getSize(), m_text, m_log);
        m_pending.shorten(m_pending.getSize());
        return converted && m_out.append(m_text);
    }

    StringBuffer& m_out;
    DataBuffer m_pending;
    DataBuffer m_text;
    int m_codePage = 0;
    LogNull m_log;
};

class BytesSink {
public:
    explicit BytesSink(DataBuffer& out) : m_out(out) {}
    bool addText(const char* p, unsigned n) { return m_out.append(p, n); }
    bool addWord(const Word& word) { return appendBytes(word, m_out); }

private:
    DataBuffer& m_out;
};

// -- Writing words

constexpr unsigned kMaxWord = 75;  // RFC 2047 2
constexpr unsigned kMaxLine = 76;

constexpr ByteSet kLettersAndDigits = ByteSet().range('A', 'Z').range('a', 'z').range('0', '9');

// RFC 2047 4.2 and, for display names and comments, 5 (3).  A blank becomes "_".
constexpr ByteSet kPlainInText = ByteSet().range('!', '~').without("=?_").with(" ");
constexpr ByteSet kPlainInPhrase = kLettersAndDigits.with("!*+-/ ");

// The code pages whose text is no superset of ASCII bytes, or needs no words.
bool fitsWords(int codePage) {
    static constexpr int kUnfit[] = {0, 1200, 1201, 12000, 12001, 20127, 65000};
    for (int unfit : kUnfit)
        if (codePage == unfit) return false;
    return _zqCharset::nameOf(codePage) != nullptr;
}

class WordWriter {
public:
    WordWriter(int codePage, bool forPhrase, StringBuffer& out)
        : m_codePage(codePage), m_plain(forPhrase ? kPlainInPhrase : kPlainInText), m_out(out) {}

    // Appends the words of a valid UTF-8 text; false when memory is exhausted.
    bool write(const char* p, const char* end, unsigned& column);

private:
    void chooseForm(const char* p, const char* end);
    void convert(const char* p, unsigned n);
    unsigned quotedSize() const;
    unsigned base64Size() const { return (m_size + 2) / 3 * 4; }
    unsigned encodedSize(const char* p, unsigned n);
    unsigned roomAt(unsigned column) const;
    unsigned fitting(const char* p, const char* end, unsigned room);
    unsigned startLine();
    unsigned appendWord(const char* p, unsigned n);
    void appendQuoted();

    int m_codePage;
    const ByteSet& m_plain;
    StringBuffer& m_out;
    const char* m_charset = "utf-8";
    unsigned m_frame = 0;  // a word's size without its text
    bool m_base64 = false;
    bool m_ok = true;
    DataBuffer m_converted;
    const unsigned char* m_bytes = nullptr;  // what was converted last
    unsigned m_size = 0;
    LogNull m_log;
};

unsigned nextChar(const char* p, const char* end) {
    const char* q = p + 1;
    while (q != end && (static_cast<unsigned char>(*q) & 0xC0u) == 0x80) ++q;
    return sizeOf(p, q);
}

bool WordWriter::write(const char* p, const char* end, unsigned& column) {
    chooseForm(p, end);
    const unsigned first = nextChar(p, end);
    if (encodedSize(p, first) > roomAt(column)) column = startLine();
    for (;;) {
        const unsigned n = fitting(p, end, roomAt(column));
        column += appendWord(p, n);
        p += n;
        if (p == end || !m_ok) return m_ok;
        column = startLine();
    }
}

// ISO-2022 text is always Base64: escape sequences make long Q words.
void WordWriter::chooseForm(const char* p, const char* end) {
    if (!fitsWords(m_codePage) || !EncodingConvert::canHold(m_codePage, p, sizeOf(p, end)))
        m_codePage = codepage::kUtf8;
    if (const char* name = _zqCharset::nameOf(m_codePage)) m_charset = name;
    const size_t nameSize = std::strlen(m_charset);
    m_frame = static_cast<unsigned>(nameSize) + 7;
    convert(p, sizeOf(p, end));
    m_base64 = (nameSize > 8 && bytes::equalIgnoreCase(m_charset, "iso-2022", 8)) ||
               base64Size() < quotedSize();
}

void WordWriter::convert(const char* p, unsigned n) {
    m_bytes = asBytes(p);
    m_size = n;
    if (m_codePage == codepage::kUtf8) return;
    m_converted.shorten(m_converted.getSize());
    m_ok = m_ok &&
           EncodingConvert::EncConvert(codepage::kUtf8, m_codePage, m_bytes, n, m_converted, m_log);
    m_bytes = m_converted.getData2();
    m_size = m_converted.getSize();
}

unsigned WordWriter::quotedSize() const {
    unsigned size = 0;
    for (unsigned i = 0; i < m_size; ++i)
        size += m_plain.has(static_cast<char>(m_bytes[i])) ? 1u : 3u;
    return size;
}

unsigned WordWriter::encodedSize(const char* p, unsigned n) {
    convert(p, n);
    return m_base64 ? base64Size() : quotedSize();
}

unsigned WordWriter::roomAt(unsigned column) const {
    const unsigned line = column < kMaxLine ? kMaxLine - column : 0;
    const unsigned word = line < kMaxWord ? line : kMaxWord;
    return word > m_frame ? word - m_frame : 0;
}

// RFC 2047 3 and 5: each word stands by itself, so characters are never cut, and a charset
// with states starts and ends each in ASCII.  At least one character is taken.
unsigned WordWriter::fitting(const char* p, const char* end, unsigned room) {
    unsigned short cuts[kMaxWord];
    unsigned n = 0;
    for (const char* q = p; q != end && n < kMaxWord; ++n) {
        q += nextChar(q, end);
        cuts[n] = static_cast<unsigned short>(q - p);
    }
    unsigned low = 0;
    for (unsigned high = n - 1; low < high;) {
        const unsigned middle = (low + high + 1) / 2;
        if (encodedSize(p, cuts[middle]) <= room) low = middle;
        else high = middle - 1;
    }
    return cuts[low];
}

unsigned WordWriter::startLine() {
    m_ok = m_out.append("\r\n ") && m_ok;
    return 1;
}

unsigned WordWriter::appendWord(const char* p, unsigned n) {
    const unsigned before = m_out.getSize();
    convert(p, n);
    m_ok = m_out.append3("=?", m_charset, m_base64 ? "?B?" : "?Q?") && m_ok;
    if (m_base64) m_ok = ContentCoding().encodeBase64(m_bytes, m_size, m_out) && m_ok;
    else appendQuoted();
    m_ok = m_out.append("?=") && m_ok;
    return m_out.getSize() - before;
}

void WordWriter::appendQuoted() {
    static constexpr char kHex[] = "0123456789ABCDEF";
    for (unsigned i = 0; i < m_size; ++i) {
        const unsigned char c = m_bytes[i];
        if (m_plain.has(static_cast<char>(c))) {
            m_ok = m_out.appendChar(c == ' ' ? '_' : static_cast<char>(c)) && m_ok;
        } else {
            const char escape[3] = {'=', kHex[c >> 4], kHex[c & 15]};
            m_ok = m_out.appendN(escape, 3) && m_ok;
        }
    }
}

}  // namespace

const char* mimetree::inner::findEncodedWord(const char* text, unsigned int size, unsigned int& wordSize) {
    WordScanner words(text, text + size, Accept::KnownCharsets);
    if (!words.next()) return nullptr;
    wordSize = sizeOf(words.word().begin, words.word().end);
    return words.word().begin;
}

bool mimetree::inner::decodeEncodedWords(const char* text, unsigned int size, StringBuffer& out) {
    const unsigned before = out.getSize();
    Utf8Sink sink(out);
    if (forEachPiece(text, size, Accept::KnownCharsets, sink)) return true;
    out.shorten(out.getSize() - before);
    return false;
}

unsigned int mimetree::inner::appendEncodedWords(const char* text, unsigned int size, int codePage,
                                unsigned int column, bool forPhrase, StringBuffer& out) {
    if (size == 0) return column;
    DataBuffer valid;
    if (!_zqUtf::isValidUtf8(asBytes(text), size, 0)) {
        LogNull log;
        if (!EncodingConvert::EncConvert(codepage::kUtf8, codepage::kUtf8, asBytes(text), size,
                                         valid, log))
            return column;
        text = reinterpret_cast<const char*>(valid.getData2());
        size = valid.getSize();
    }
    const unsigned before = out.getSize(), start = column;
    if (WordWriter(codePage, forPhrase, out).write(text, text + size, column)) return column;
    out.shorten(out.getSize() - before);
    return start;
}

bool ContentCoding::QB_Decode(const StringBuffer& in, DataBuffer& out) {
    const unsigned before = out.getSize();
    BytesSink sink(out);
    if (forEachPiece(in.getString(), in.getSize(), Accept::AnyCharsetAnd8bit, sink)) return true;
    out.shorten(out.getSize() - before);
    return false;
}

bool ContentCoding::QB_DecodeToUtf8(StringBuffer& s, LogBase& log) {
    StringBuffer decoded;
    if (!decodeEncodedWords(s.getString(), s.getSize(), decoded)) {
        log.logError("Out of memory while decoding encoded words.");
        return false;
    }
    s.swap(decoded);
    return true;
}
