// SPDX-License-Identifier: Apache-2.0
//
// RFC 2047 encoded words, both ways.  Reading: WordScanner finds the words, forEachPiece
// hands words and the text between them to a sink, which joins, decodes and converts.
// StringBuffer::qbDecode and the members of ContentCoding that stand at the end read header
// values through it.  Writing: WordWriter cuts a text into words that fit their lines;
// HeaderWriter.cpp calls it.

#include "foundation/coding/EncodedWords.h"

#include "foundation/ContentCoding.h"
#include "foundation/DataBuffer.h"
#include "foundation/EncodingConvert.h"
#include "foundation/LogNull.h"
#include "foundation/StringBuffer.h"
#include "foundation/_zqCharset.h"
#include "foundation/_zqUtf.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"
#include "foundation/bytes/ranges.h"
#include "foundation/bytes/utf8.h"
#include "foundation/charset/code_pages.h"

#include <cstring>

using namespace mimetree::inner;

namespace {

// -- Finding words

enum class Coding { Base64, Quoted, Verbatim };
enum class Accept { Rfc2047, Also8bit };

struct Word {
    const char* begin;
    const char* end;
    const char* charset;
    unsigned charsetSize;
    const char* text;
    unsigned textSize;
    Coding coding;
};

// Tolerated: the colon, which nine registered names hold ("ISO_8859-1:1987").
constexpr ByteSet kCharsetBytes = kTokenBytes.with(":");

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
        if (readHead(start, m_word) && readText(m_word)) {
            m_at = m_word.end;
            return true;
        }
    }
    return false;
}

// RFC 2047 2: "=?charset?coding?"; RFC 2231 5 adds "*language" to the charset.
bool WordScanner::readHead(const char* p, Word& word) const {
    word.begin = p;
    word.charset = p + 2;
    const char* q = p + 2;
    while (q != m_end && kCharsetBytes.has(*q) && *q != '*') ++q;
    word.charsetSize = sizeOf(word.charset, q);
    while (q != m_end && kCharsetBytes.has(*q)) ++q;
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
        if (row.coding == Coding::Verbatim && m_accept == Accept::Rfc2047) continue;
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

// The bytes of words that follow one another in one charset.
// Tolerated: a base64 group or an escape that is cut in two.  What is left of one waits for the
// next word.  Words may as well lack their padding, or end with "=" for itself, so from the
// first cut on the bytes of each word alone are kept as a second reading.
class WordRun {
public:
    bool add(const Word& word);
    bool close();  // no word follows
    void clear();

    bool isEmpty() const { return m_joined.isEmpty() && m_tail.isEmpty(); }
    bool isCut() const { return !m_tail.isEmpty(); }
    const DataBuffer& joined() const { return m_joined; }
    const DataBuffer* apart() const { return m_hasApart ? &m_apart : nullptr; }

private:
    bool startApart();
    bool appendTail(DataBuffer& out) const;

    DataBuffer m_joined, m_apart;
    StringBuffer m_tail;  // the incomplete end of the last word
    Coding m_coding = Coding::Quoted;
    bool m_hasApart = false;
};

constexpr ByteSet kBase64Digits = ByteSet("+/").range('A', 'Z').range('a', 'z').range('0', '9');

// RFC 2045 6.8: how much of the text is whole groups.  Padding ends the last one.
const char* wholeGroupsEnd(const char* text, const char* end) {
    unsigned digits = 0;
    for (const char* p = text; p != end; ++p) {
        if (*p == '=') return end;
        digits += kBase64Digits.has(*p);
    }
    const char* p = end;
    for (digits %= 4; digits; --p) digits -= kBase64Digits.has(p[-1]);
    return p;
}

const char* wholeEscapesEnd(const char* text, const char* end) {
    if (end != text && end[-1] == '=') return end - 1;
    if (end - text > 1 && end[-2] == '=' && bytes::hexValue(end[-1]) >= 0) return end - 2;
    return end;
}

bool WordRun::add(const Word& word) {
    if (isCut() && word.coding != m_coding && !close()) return false;
    if (isCut() && !m_hasApart && !startApart()) return false;
    m_coding = word.coding;
    if (m_hasApart && !appendBytes(word, m_apart)) return false;
    Word whole = word;
    StringBuffer text;
    if (isCut()) {
        text.swap(m_tail);
        if (!text.appendN(word.text, word.textSize)) return false;
        whole.text = text.getString();
        whole.textSize = text.getSize();
    }
    const char* const end = whole.text + whole.textSize;
    const bool isBase64 = m_coding == Coding::Base64;
    const char* const stop =
        isBase64 ? wholeGroupsEnd(whole.text, end) : wholeEscapesEnd(whole.text, end);
    whole.textSize = sizeOf(whole.text, stop);
    if (!appendBytes(whole, m_joined)) return false;
    for (const char* p = stop; p != end; ++p)
        if (!isBase64 || kBase64Digits.has(*p)) m_tail.appendChar(*p);
    return !m_tail.failed();
}

bool WordRun::startApart() {
    m_hasApart = true;
    return m_apart.append(m_joined) && appendTail(m_apart);
}

bool WordRun::appendTail(DataBuffer& out) const {
    Word tail = {};
    tail.text = m_tail.getString();
    tail.textSize = m_tail.getSize();
    tail.coding = m_coding;
    return appendBytes(tail, out);
}

bool WordRun::close() {
    if (!appendTail(m_joined)) return false;
    m_tail.weakClear();
    return true;
}

void WordRun::clear() {
    m_joined.shorten(m_joined.getSize());
    m_apart.shorten(m_apart.getSize());
    m_hasApart = false;
}

// 0 where the bytes must tell.  Tolerated: charsets that nobody knows ("unknown-8bit"), and
// 8-bit bytes labelled US-ASCII.
int codePageOf(const Word& word) {
    const int codePage = _zqCharset::codePageOf(word.charset, word.charsetSize);
    return codePage != codepage::kAscii && EncodingConvert::isKnown(codePage) ? codePage : 0;
}

// Converts to UTF-8.  Tolerated: a character that is cut in two, so the bytes of a run are
// converted together.
class Utf8Sink {
public:
    explicit Utf8Sink(StringBuffer& out) : m_out(out) {}

    bool addText(const char* p, unsigned n) { return flush() && m_out.appendN(p, n); }
    bool addWord(const Word& word);

private:
    bool isSameCharset(const Word& word) const;
    bool endsTheRun(const Word& word);
    bool endsWithinCharacter();
    bool convert(const DataBuffer& bytes);
    bool isClean(const DataBuffer& bytes) const;
    bool flush();

    StringBuffer& m_out;
    WordRun m_run;
    Word m_last = {};
    int m_codePage = 0;  // of m_last
    DataBuffer m_text;
    LogNull m_log;
};

bool Utf8Sink::addWord(const Word& word) {
    if (endsTheRun(word) && !flush()) return false;
    if (!isSameCharset(word)) m_codePage = codePageOf(word);
    m_last = word;
    return m_run.add(word);
}

bool Utf8Sink::isSameCharset(const Word& word) const {
    return word.charsetSize == m_last.charsetSize &&
           bytes::equalIgnoreCase(word.charset, m_last.charset, word.charsetSize);
}

// RFC 2047 2: each word begins in ASCII, whatever shifts stand in the one before.
bool Utf8Sink::endsTheRun(const Word& word) {
    if (m_run.isEmpty()) return false;
    if (!isSameCharset(word) && codePageOf(word) != m_codePage) return true;
    return !EncodingConvert::keepsAscii(m_codePage) && !m_run.isCut() && !endsWithinCharacter();
}

// Limit: words that go on and on within a character are not converted again for each of them.
bool Utf8Sink::endsWithinCharacter() {
    constexpr unsigned kMaxRun = 512;
    if (m_run.joined().getSize() > kMaxRun || !convert(m_run.joined())) return false;
    const unsigned size = m_text.getSize();
    return size >= 3 && std::memcmp(m_text.getData2() + size - 3, "\xEF\xBF\xBD", 3) == 0;
}

bool Utf8Sink::convert(const DataBuffer& bytes) {
    int codePage = m_codePage;
    if (codePage == 0)
        codePage = _zqUtf::isValidUtf8(bytes.getData2(), bytes.getSize(), 0)
                       ? codepage::kUtf8
                       : codepage::kWindows1252;
    m_text.shorten(m_text.getSize());
    return EncodingConvert::EncConvert(codePage, codepage::kUtf8, bytes.getData2(), bytes.getSize(),
                                       m_text, m_log);
}

bool Utf8Sink::flush() {
    if (m_run.isEmpty()) return true;
    if (!m_run.close()) return false;
    bool ok = convert(m_run.joined());
    if (ok && m_run.apart() && !isClean(m_run.joined())) {
        ok = convert(*m_run.apart());
        if (ok && !isClean(*m_run.apart())) ok = convert(m_run.joined());
    }
    m_run.clear();
    return ok && m_out.append(m_text);
}

// True when the bytes, which were converted last, make text.
bool Utf8Sink::isClean(const DataBuffer& bytes) const {
    const bool mustBeUtf8 = m_codePage == 0 || m_codePage == codepage::kUtf8;
    if (mustBeUtf8 && !_zqUtf::isValidUtf8(bytes.getData2(), bytes.getSize(), 0)) return false;
    return utf8::isCleanText(m_text.getData2(), m_text.getSize());
}

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
    static unsigned characterEnds(const char* p, const char* end, unsigned (&ends)[kMaxWord]);
    unsigned fitting(const char* p, const char* end, unsigned room);
    unsigned leadOf(const char* p, const char* end);
    unsigned startLine();
    unsigned appendWord(const char* p, unsigned n, bool base64);
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
    while (p != end && m_ok) {
        unsigned n = fitting(p, end, roomAt(column));
        if (n == 0) {
            if (column != 1) column = startLine();
            n = fitting(p, end, roomAt(column));
        }
        column += n ? appendWord(p, n, m_base64) : appendWord(p, n = leadOf(p, end), false);
        p += n;
        if (p != end) column = startLine();
    }
    return m_ok;
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

// Where the characters of the text end, as many as may stand in one word.
unsigned WordWriter::characterEnds(const char* p, const char* end, unsigned (&ends)[kMaxWord]) {
    unsigned n = 0;
    for (const char* q = p; q != end && n < kMaxWord; ++n) {
        q += nextChar(q, end);
        ends[n] = sizeOf(p, q);
    }
    return n;
}

// RFC 2047 3 and 5: each word stands by itself, so characters are never cut, and a charset
// with states starts and ends each in ASCII.  Base64 that is padded stands at the end only:
// there are readers that join the words first and stop at the padding.  0 when nothing fits.
unsigned WordWriter::fitting(const char* p, const char* end, unsigned room) {
    unsigned ends[kMaxWord];
    unsigned low = 0;
    for (unsigned high = characterEnds(p, end, ends); low < high;) {
        const unsigned middle = (low + high + 1) / 2;
        if (encodedSize(p, ends[middle - 1]) <= room) low = middle;
        else high = middle - 1;
    }
    for (; m_base64 && low && p + ends[low - 1] != end; --low) {
        convert(p, ends[low - 1]);
        if (m_size % 3 == 0) break;
    }
    return low ? ends[low - 1] : 0;
}

// The characters that go ahead in a Q word where no word of Base64 can end: behind them one
// can, for the sizes of one or two bring the rest to whole groups.
unsigned WordWriter::leadOf(const char* p, const char* end) {
    unsigned ends[kMaxWord];
    const unsigned n = characterEnds(p, end, ends);
    for (unsigned i = 1; i < n; ++i)
        if (ends[i] % 3 == ends[0] % 3) return ends[0];
    return ends[n > 1 ? 1 : 0];
}

unsigned WordWriter::startLine() {
    m_ok = m_out.append("\r\n ") && m_ok;
    return 1;
}

unsigned WordWriter::appendWord(const char* p, unsigned n, bool base64) {
    const unsigned before = m_out.getSize();
    convert(p, n);
    m_ok = m_out.append3("=?", m_charset, base64 ? "?B?" : "?Q?") && m_ok;
    if (base64) m_ok = ContentCoding().encodeBase64(m_bytes, m_size, m_out) && m_ok;
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
    WordScanner words(text, text + size, Accept::Rfc2047);
    if (!words.next()) return nullptr;
    wordSize = sizeOf(words.word().begin, words.word().end);
    return words.word().begin;
}

bool mimetree::inner::decodeEncodedWords(const char* text, unsigned int size, StringBuffer& out) {
    const unsigned before = out.getSize();
    Utf8Sink sink(out);
    if (forEachPiece(text, size, Accept::Rfc2047, sink)) return true;
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
    if (forEachPiece(in.getString(), in.getSize(), Accept::Also8bit, sink)) return true;
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
