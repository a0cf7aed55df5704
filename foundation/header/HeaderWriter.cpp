// SPDX-License-Identifier: Apache-2.0
//
// Header fields as text: what MimeHeader writes for a field that was made or changed.  The
// value is freed of line breaks, then written in the way that its field's grammar allows:
// one small writer for each kind of field, all of them upon LineFolder, which keeps count of
// the columns.  Encoded words come from EncodedWords.cpp, parameters from HeaderParams.cpp.

#include "foundation/header/HeaderWriter.h"

#include "foundation/StringBuffer.h"
#include "foundation/bytes/bytes.h"
#include "foundation/bytes/ranges.h"
#include "foundation/coding/EncodedWords.h"
#include "foundation/header/HeaderParams.h"
#include "foundation/header/header_fields.h"
#include "foundation/xml/names.h"

#include <cstring>

namespace mimetree::inner {

namespace {

constexpr unsigned kMaxColumns = 78;      // RFC 5322 2.1.1
constexpr unsigned kMaxWordColumns = 76;  // RFC 2047 2: lines that hold encoded words

// RFC 5322 2.1.1: no line is longer.
constexpr unsigned kMaxOctets = 998;

bool isAscii(const char* begin, const char* end) {
    return bytes::isAscii(begin, static_cast<size_t>(end - begin));
}

const char* skipBlanks(const char* p, const char* end) {
    while (p != end && bytes::isBlank(*p)) ++p;
    return p;
}

const char* wordEnd(const char* p, const char* end) {
    while (p != end && !bytes::isBlank(*p)) ++p;
    return p;
}

// Whether there is a word that, with the blanks in front, fits no line: only encoded can it be
// written.
bool hasLongWord(const char* p, const char* end) {
    while (sizeOf(p, end) >= kMaxOctets) {
        const char* const word = skipBlanks(p, end);
        const char* const stop = wordEnd(word, end);
        if (sizeOf(p, stop) + (p == word) > kMaxOctets) return true;
        p = stop;
    }
    return false;
}

bool needsCoding(const char* begin, const char* end) {
    return !isAscii(begin, end) || hasLongWord(begin, end);
}

constexpr char kBlank[] = " ";
constexpr char kSeparator[] = ";";

// No buffer grows to 4 GiB: this is refused, and marks `out` as incomplete.
void markFailed(StringBuffer& out) {
    if (!out.isEmpty()) out.extend(0xFFFFFFFFu);
}

// -- Lines

// Where a line may be broken.  In structured fields a blank may be put where it changes nothing:
// behind the commas of a list and between "><", or behind the semicolons of parameters.
enum class Breaks { AtBlanks, InLists, InParams };

// RFC 5322 3.2.2: whether text stands within quotes or brackets, where commas separate nothing.
class Nesting {
public:
    void enter(char c) {
        if (m_escaped) m_escaped = false;
        else if (c == '\\') m_escaped = m_quoted || m_comments;
        else if (m_quoted) m_quoted = c != '"';
        else if (c == '(') ++m_comments;
        else if (m_comments) m_comments -= c == ')';
        else if (c == '"') m_quoted = true;
        else if (c == '<' || c == '>') m_bracket = c == '<';
    }
    bool isOpen() const { return m_quoted || m_comments || m_bracket; }

private:
    unsigned m_comments = 0;
    bool m_quoted = false, m_bracket = false, m_escaped = false;
};

class LineFolder {
public:
    LineFolder(StringBuffer& out, size_t column, unsigned limit, Breaks breaks)
        : m_out(out),
          m_column(column),
          m_limit(limit),
          m_breaks(breaks),
          m_behindName(column != 0) {}

    size_t column() const { return m_column; }
    bool fits(size_t n) const { return m_column + n <= m_limit; }
    bool isBehindWords() const { return m_behindWords; }
    bool isBehindBlank() const { return bytes::isBlank(m_out.lastChar()); }

    // Marks the output when a text on the way to it was refused memory.
    void check(const StringBuffer& text) {
        if (text.failed()) markFailed(m_out);
    }

    // Appends text that is broken only where the line would be too long for RFC 5322.
    void append(const char* begin, const char* end);

    // Appends text that may be broken in front of each run of blanks, which then begins the
    // next line: deleting the breaks gives the text again.
    void appendFolded(const char* begin, const char* end);

    // Appends a run of blanks; breaks the line in front of it when the `next` bytes that will
    // follow do not fit.
    void appendRun(const char* begin, const char* end, size_t next);

    // Appends encoded words for `text`.
    void appendWords(const char* text, unsigned size, int codePage, bool forPhrase);

    // Appends text that was folded for lines of its own and ended at `column`: on this line
    // if it fits, otherwise on new ones.
    void appendItem(const StringBuffer& text, size_t column);

private:
    bool isBreak(const char* p, const char* end) const;
    const char* pieceEnd(const char* begin, const char* end);
    void breakLine();
    void breakWithBlank();
    void breakBehindName();

    StringBuffer& m_out;
    size_t m_column;
    const unsigned m_limit;
    const Breaks m_breaks;
    Nesting m_nesting;
    bool m_lineHasText = false;  // no line is left that holds blanks alone
    bool m_behindName;           // nothing but the name and blanks are on the line
    bool m_behindWords = false;
    bool m_behindSeparator = false;
};

// Limit: a word that no line can hold is cut, for a server would do so, or refuse it.
void LineFolder::append(const char* begin, const char* end) {
    if (begin == end) return;
    while (m_column + sizeOf(begin, end) > kMaxOctets) {
        const char* cut = begin + (m_column < kMaxOctets ? kMaxOctets - m_column : 0);
        while (cut != begin && (static_cast<unsigned char>(*cut) & 0xC0u) == 0x80) --cut;
        m_out.appendN(begin, sizeOf(begin, cut));
        begin = cut;
        breakWithBlank();
    }
    m_out.appendN(begin, sizeOf(begin, end));
    m_column += sizeOf(begin, end);
    m_lineHasText = true;
    m_behindName = m_behindWords = m_behindSeparator = false;
}

void LineFolder::appendFolded(const char* begin, const char* end) {
    while (begin != end) {
        const char* const word = skipBlanks(begin, end);
        const char* const stop = pieceEnd(word, end);
        appendRun(begin, word, sizeOf(word, stop));
        append(word, stop);
        m_behindSeparator = stop != word && isBreak(stop, end);
        begin = stop;
    }
}

// Whether a blank may be put in front of p.
bool LineFolder::isBreak(const char* p, const char* end) const {
    if (m_nesting.isOpen()) return false;
    switch (m_breaks) {
        case Breaks::InLists: return p[-1] == ',' || (p[-1] == '>' && p != end && *p == '<');
        case Breaks::InParams: return p[-1] == ';';
        default: return false;
    }
}

const char* LineFolder::pieceEnd(const char* p, const char* end) {
    while (p != end && !bytes::isBlank(*p)) {
        m_nesting.enter(*p++);
        if (isBreak(p, end)) break;
    }
    return p;
}

// A run at the end stays on its line.  Text stuck to encoded words, or behind a separator, gets a
// blank where it would make their line too long.
void LineFolder::appendRun(const char* begin, const char* end, size_t next) {
    if (m_breaks != Breaks::AtBlanks && sizeOf(begin, end) + next > kMaxOctets && begin != end)
        begin = end - 1;
    const size_t size = sizeOf(begin, end);
    if (next != 0 && !fits(size + next)) {
        const bool helps = 1 + next <= m_limit || m_column + size + next > kMaxOctets;
        if (m_behindName && helps) breakBehindName();
        else if (m_lineHasText && size != 0) breakLine();
        else if (m_lineHasText && (m_behindWords || m_behindSeparator)) breakWithBlank();
    }
    m_out.appendN(begin, sizeOf(begin, end));
    m_column += size;
    if (size != 0) m_behindWords = m_behindSeparator = false;
}

void LineFolder::breakLine() {
    m_out.append("\r\n");
    m_column = 0;
    m_lineHasText = m_behindName = false;
}

void LineFolder::breakWithBlank() {
    breakLine();
    m_out.appendChar(' ');
    m_column = 1;
}

void LineFolder::breakBehindName() {
    while (isBehindBlank()) m_out.shorten(1);
    breakWithBlank();
}

// Where the words begin with a fold, the blank that stands in front of them already becomes
// the first of the new line.
void LineFolder::appendWords(const char* text, unsigned size, int codePage, bool forPhrase) {
    StringBuffer words;
    m_column =
        appendEncodedWords(text, size, codePage, static_cast<unsigned>(m_column), forPhrase, words);
    if (words.isEmpty() && size != 0) markFailed(m_out);
    if (words.lastChar() && words.beginsWith("\r\n") && bytes::isBlank(m_out.lastChar())) {
        const char blank = m_out.lastChar();
        m_out.shorten(1);
        words.removeFront(3);
        m_out.append("\r\n");
        m_out.appendChar(blank);
    }
    m_out.append(words);
    m_lineHasText = true;
    m_behindWords = true;
    m_behindName = m_behindSeparator = false;
}

void LineFolder::appendItem(const StringBuffer& text, size_t column) {
    check(text);
    if (fits(text.getSize()) && !text.containsChar('\r')) {
        append(text.getString(), text.getString() + text.getSize());
        return;
    }
    breakLine();
    m_out.append(text);
    m_column = column;
    m_lineHasText = true;
    m_behindSeparator = text.lastChar() == ',';
}

// -- Unstructured fields

// A word of an unstructured value.  An encoded word that stands in it already counts as one
// piece, even with blanks inside.
struct TextWord {
    const char* begin;
    const char* end;
    bool beginsEncoded;
    bool endsEncoded;
    bool isPlain;  // ASCII that fits a line with the blanks in front: written as it is
};

class TextWords {
public:
    TextWords(const char* text, const char* end) : m_at(text), m_end(end) { findEncoded(); }

    // Moves to the next word; false at the end.
    bool next(TextWord& word);

private:
    void findEncoded();

    const char* m_at;
    const char* m_end;
    const char* m_encoded = nullptr;  // the next encoded word of the text, or null
    unsigned m_encodedSize = 0;
};

void TextWords::findEncoded() {
    m_encoded = findEncodedWord(m_at, sizeOf(m_at, m_end), m_encodedSize);
}

bool TextWords::next(TextWord& word) {
    const char* const run = m_at;
    m_at = skipBlanks(m_at, m_end);
    word.begin = m_at;
    word.beginsEncoded = m_at == m_encoded;
    word.endsEncoded = false;
    while (m_at != m_end && !bytes::isBlank(*m_at)) {
        word.endsEncoded = m_at == m_encoded;
        if (word.endsEncoded) {
            m_at += m_encodedSize;
            findEncoded();
        } else {
            ++m_at;
        }
    }
    word.end = m_at;
    word.isPlain = !needsCoding(run, word.end);
    return word.begin != word.end;
}

// RFC 2047 6.2: readers drop the white space between encoded words.  Words that need coding
// and follow one another are therefore coded together with their blanks; and the blanks
// towards an encoded word that was there before go into the new one.
class UnstructuredWriter {
public:
    UnstructuredWriter(const char* begin, const char* end, int codePage, LineFolder& lines)
        : m_words(begin, end), m_at(begin), m_end(end), m_codePage(codePage), m_lines(lines) {}

    void write() {
        for (bool more = m_words.next(m_word); more;) more = m_word.isPlain ? plain() : coded();
        m_lines.appendRun(m_at, m_end, 0);
    }

private:
    bool plain();
    bool coded();

    TextWords m_words;
    TextWord m_word = {};
    const char* m_at;  // the end of what is written
    const char* m_end;
    const int m_codePage;
    LineFolder& m_lines;
    bool m_first = true;
    bool m_behindEncoded = false;  // m_at is the end of a word that was encoded before
};

bool UnstructuredWriter::plain() {
    m_lines.appendRun(m_at, m_word.begin, sizeOf(m_word.begin, m_word.end));
    m_lines.append(m_word.begin, m_word.end);
    m_at = m_word.end;
    m_behindEncoded = m_word.endsEncoded;
    m_first = false;
    return m_words.next(m_word);
}

bool UnstructuredWriter::coded() {
    const char* begin = m_at;
    if (!m_first) {
        m_lines.appendRun(m_at, m_at + 1, 0);
        if (!m_behindEncoded) ++begin;
        else if (m_word.beginsEncoded) begin = m_word.begin;
    }
    TextWord last = m_word;
    bool more = m_words.next(m_word);
    for (; more && !m_word.isPlain; more = m_words.next(m_word)) last = m_word;
    m_at = last.end;
    if (more && m_word.beginsEncoded) {
        if (!last.endsEncoded) last.end = m_word.begin;
        m_at = m_word.begin - 1;
    }
    StringBuffer text;
    decodeEncodedWords(begin, sizeOf(begin, last.end), text);
    m_lines.check(text);
    m_lines.appendWords(text.getString(), text.getSize(), m_codePage, /*forPhrase*/ false);
    m_behindEncoded = m_first = false;
    return more;
}

// -- Address fields

// RFC 5322 3.4.  The list is cut at its commas; in each piece, display names and comments
// that are not ASCII become encoded words and the rest is copied.  From a quote or bracket on
// that is never closed, everything is copied.
class AddressWriter {
public:
    AddressWriter(const char* begin, const char* end, int codePage, LineFolder& lines)
        : m_at(begin), m_end(end), m_codePage(codePage), m_lines(&lines) {}

    void write();

private:
    void writeItem(LineFolder& lines);
    bool step();
    void stepWord();
    void stepComment();
    void endPhrase(bool isName);
    void encode(const char* begin, const char* end, bool isPhrase);
    void copyTo(const char* end);
    const char* closeOf(const char* p) const;

    const char* m_at;
    const char* m_end;
    const int m_codePage;
    LineFolder* m_lines;             // where the piece goes
    const char* m_copied = nullptr;  // what stands before is written
    const char* m_phrase = nullptr;  // the words in front of m_phraseEnd, or null
    const char* m_phraseEnd = nullptr;
    bool m_phraseHasAt = false;
};

// A piece behind a comma is folded for itself first, to see whether it fits on the line.
void AddressWriter::write() {
    LineFolder& all = *m_lines;
    for (bool isFirst = true; m_at != m_end; isFirst = false) {
        const char* const begin = skipBlanks(m_at, m_end);
        if (isFirst || begin == m_at || begin == m_end) {
            writeItem(all);
            continue;
        }
        StringBuffer item;
        LineFolder lines(item, 0, kMaxWordColumns, Breaks::InLists);
        lines.appendRun(m_at, m_at + 1, 0);
        m_at = begin;
        writeItem(lines);
        all.appendItem(item, lines.column());
    }
}

void AddressWriter::writeItem(LineFolder& lines) {
    m_lines = &lines;
    m_copied = m_at;
    bool more = true;
    while (more && m_at != m_end) more = step();
    endPhrase(/*isName*/ false);
    copyTo(m_at);
}

// Takes one element; false behind the separator that ends the piece.
bool AddressWriter::step() {
    const char* close = m_at;
    switch (*m_at) {
        case ',':
        case ';':
            endPhrase(/*isName*/ false);
            ++m_at;
            return false;
        case '(': stepComment(); return true;
        case ' ':
        case '\t': ++m_at; return true;
        case '<': close = closeOf(m_at); [[fallthrough]];
        case ':':
            endPhrase(/*isName*/ true);
            m_at = close ? close + 1 : m_end;
            return true;
        default: stepWord(); return true;
    }
}

void AddressWriter::stepWord() {
    if (!m_phrase) {
        m_phrase = m_at;
        m_phraseHasAt = false;
    }
    const bool isEnclosed = *m_at == '"' || *m_at == '[';
    const char* last = isEnclosed ? closeOf(m_at) : m_at;
    if (!last) {
        m_phrase = nullptr;
        m_at = m_end;
        return;
    }
    if (*m_at == '@') m_phraseHasAt = true;
    if (*m_at == '\\' && last + 1 != m_end) ++last;
    m_at = m_phraseEnd = last + 1;
}

void AddressWriter::stepComment() {
    endPhrase(/*isName*/ false);
    const char* const close = closeOf(m_at);
    if (close && needsCoding(m_at, close)) {
        copyTo(m_at + 1);
        encode(m_at + 1, close, /*isPhrase*/ false);
        m_copied = close;
    }
    m_at = close ? close + 1 : m_end;
}

// Words with an "@" among them and no address behind are the address.
void AddressWriter::endPhrase(bool isName) {
    if (m_phrase && (isName || !m_phraseHasAt) && needsCoding(m_phrase, m_phraseEnd)) {
        copyTo(m_phrase);
        if (!m_lines->isBehindBlank()) m_lines->appendFolded(kBlank, kBlank + 1);
        encode(m_phrase, m_phraseEnd, /*isPhrase*/ true);
        m_copied = m_phraseEnd;
    }
    m_phrase = nullptr;
}

// RFC 2047 5 (3): no encoded word stands in a quoted string, so the quotes go.  Words that
// were encoded before are coded anew with the rest.
void AddressWriter::encode(const char* begin, const char* end, bool isPhrase) {
    StringBuffer text, decoded;
    for (const char* p = begin; p != end; ++p) {
        if (*p == '"' && isPhrase) continue;
        if (*p == '\\' && p + 1 != end) ++p;
        text.appendChar(*p);
    }
    decodeEncodedWords(text.getString(), text.getSize(), decoded);
    m_lines->check(text);
    m_lines->check(decoded);
    m_lines->appendWords(decoded.getString(), decoded.getSize(), m_codePage, /*forPhrase*/ true);
}

void AddressWriter::copyTo(const char* end) {
    if (m_copied != end && (*m_copied == '<' || *m_copied == ':') && m_lines->isBehindWords())
        m_lines->appendRun(kBlank, kBlank + 1, sizeOf(m_copied, wordEnd(m_copied, end)));
    m_lines->appendFolded(m_copied, end);
    m_copied = end;
}

// The bracket or quote that closes the one at `p`; null when there is none.  Comments nest.
const char* AddressWriter::closeOf(const char* p) const {
    const char open = *p;
    const char close = open == '<' ? '>' : open == '[' ? ']' : open == '(' ? ')' : '"';
    unsigned depth = 1;
    for (const char* q = p + 1; q != m_end; ++q) {
        if (*q == '\\' && q + 1 != m_end) ++q;
        else if (*q == close && --depth == 0) return q;
        else if (*q == open && open == '(') ++depth;
    }
    return nullptr;
}

// -- Fields with parameters

// The forms in which the parameters of a value stand, by their names in any case.
class ParamForms {
public:
    enum Form { Plain = '7', NotAscii = '8', Extended = '*' };  // RFC 2231 3, 4

    bool has(const StringBuffer& param, Form form) {
        const XmlSlice key = append(param, form);
        const bool found = m_names.has(m_text.getString(), key);
        m_text.shorten(key.size);
        return found;
    }

    void add(const StringBuffer& param, Form form) {
        const XmlSlice key = append(param, form);
        if (m_text.failed() || m_names.has(m_text.getString(), key) ||
            !m_names.insert(m_text.getString(), key))
            m_text.shorten(key.size);
    }

private:
    XmlSlice append(const StringBuffer& param, Form form) {
        const unsigned at = m_text.getSize();
        m_text.appendChar(static_cast<char>(form));
        for (const char* p = param.getString(); *p && *p != '*'; ++p)
            m_text.appendChar(bytes::lower(*p));
        return {at, m_text.getSize() - at};
    }

    StringBuffer m_text;
    XmlNameSet m_names;
};

// Copies a value, with its non-ASCII parameters written anew.
class ParamsWriter {
public:
    ParamsWriter(const char* begin, const char* end, LineFolder& lines)
        : m_params(begin, sizeOf(begin, end)), m_at(begin), m_end(end), m_lines(lines) {
        for (HeaderParams params = m_params; params.nextUncopied();)
            if (params.name().containsChar('*')) m_forms.add(params.name(), ParamForms::Extended);
    }

    void write();

private:
    enum class Fate { Copy, Encode, Drop };

    Fate decide();
    void writeParam();
    void copyGap(const char* end, size_t next);

    HeaderParams m_params;
    const char* m_at;
    const char* m_end;
    LineFolder& m_lines;
    ParamForms m_forms;
    bool m_encoded = false;     // the last parameter was, or was dropped
    bool m_encodeNext = false;  // the next one will be
};

void ParamsWriter::write() {
    m_lines.appendFolded(m_at, m_params.begin());
    for (m_at = m_params.begin(); m_params.nextUncopied(); m_at = m_params.end()) {
        const Fate fate = decide();
        m_encodeNext = fate == Fate::Encode;
        if (fate != Fate::Drop) writeParam();
        m_encoded = fate != Fate::Copy;
    }
    m_encodeNext = false;
    copyGap(m_end, 0);
}

void ParamsWriter::writeParam() {
    StringBuffer text;
    if (m_encodeNext) {
        if (!m_params.copyValue()) text.markFailed();
        appendHeaderParam(m_params.name().getString(), m_params.value(), text);
        text.removeFront(2);
    } else {
        text.appendN(m_params.begin(), sizeOf(m_params.begin(), m_params.end()));
    }
    m_lines.check(text);
    const char* const begin = text.getString();
    const char* const end = begin + text.getSize();
    copyGap(m_params.begin(), text.getSize() + 1);
    if (m_lines.fits(text.getSize())) m_lines.append(begin, end);
    else m_lines.appendFolded(begin, end);
}

// The first of a name counts where it is read, and no reader knows what to make of a name
// that is written in the extended form twice.
// Kept on purpose: the pieces of RFC 2231 values stay as they are, even with raw UTF-8.
ParamsWriter::Fate ParamsWriter::decide() {
    const StringBuffer& name = m_params.name();
    if (!name.is7bit(0) || name.containsChar('*')) return Fate::Copy;
    const bool wasEncoded = m_forms.has(name, ParamForms::NotAscii);
    if (!needsCoding(m_params.begin(), m_params.end())) {
        m_forms.add(name, ParamForms::Plain);
        return wasEncoded ? Fate::Drop : Fate::Copy;
    }
    m_forms.add(name, ParamForms::NotAscii);
    const bool isTold = wasEncoded || m_forms.has(name, ParamForms::Plain) ||
                        m_forms.has(name, ParamForms::Extended);
    return isTold ? Fate::Drop : Fate::Encode;
}

// Copies what stands between two parameters.  Tolerated: a ";" that is missing there; a
// parameter that is written anew gets it.
void ParamsWriter::copyGap(const char* end, size_t next) {
    const char* run = end;
    while (run != m_at && bytes::isBlank(run[-1])) --run;
    const char* const first = skipBlanks(m_at, end);
    const bool hasSeparator = std::memchr(m_at, ';', sizeOf(m_at, end)) != nullptr;
    const bool wantsFirst =
        m_encoded && (first != end || next != 0) && (first == end || *first != ';');
    if (wantsFirst || (m_encodeNext && !hasSeparator)) m_lines.append(kSeparator, kSeparator + 1);
    if (run != m_at) m_lines.appendFolded(m_at, run);
    const bool wantsBlank = run == end && (m_encoded || m_encodeNext) && next != 0;
    m_lines.appendRun(wantsBlank ? kBlank : run, wantsBlank ? kBlank + 1 : end, next);
}

// -- Fields

// RFC 5322 2.2.3: unfolding removes the CRLF of a fold.  Limit: what other line breaks there
// are become blanks, so that no value makes a field of its own.
void appendOneLine(const char* p, const char* end, StringBuffer& out) {
    while (p != end) {
        const char* q = p;
        while (q != end && *q != '\r' && *q != '\n') ++q;
        out.appendN(p, sizeOf(p, q));
        if (q == end) return;
        const bool isCrlf = *q == '\r' && end - q > 1 && q[1] == '\n';
        p = q + (isCrlf ? 2 : 1);
        if (!isCrlf || p == end || !bytes::isBlank(*p)) out.appendChar(' ');
    }
}

Breaks breaksOf(FieldGrammar grammar) {
    switch (grammar) {
        case FieldGrammar::Unstructured:
        case FieldGrammar::Opaque: return Breaks::AtBlanks;
        case FieldGrammar::Params: return Breaks::InParams;
        default: return Breaks::InLists;
    }
}

void writeValue(FieldGrammar grammar, const char* begin, const char* end, size_t column,
                int codePage, StringBuffer& out) {
    const Breaks breaks = breaksOf(grammar);
    LineFolder lines(out, column, kMaxColumns, breaks);
    LineFolder wordLines(out, column, kMaxWordColumns, breaks);
    const bool isParams = grammar == FieldGrammar::Params && !lines.fits(sizeOf(begin, end));
    if (!isParams && !needsCoding(begin, end)) grammar = FieldGrammar::Structured;
    switch (grammar) {
        case FieldGrammar::Unstructured:
            return UnstructuredWriter(begin, end, codePage, wordLines).write();
        case FieldGrammar::Addresses:
        case FieldGrammar::XmlAddresses:
            return AddressWriter(begin, end, codePage, wordLines).write();
        case FieldGrammar::Params: {
            const bool hasWords = bytes::find(begin, sizeOf(begin, end), "=?", 2) != nullptr;
            return ParamsWriter(begin, end, hasWords ? wordLines : lines).write();
        }
        default: return lines.appendFolded(begin, end);
    }
}

}  // namespace

void appendHeaderField(const char* name, unsigned int nameSize, const char* value,
                       unsigned int valueSize, int codePage, StringBuffer& out) {
    StringBuffer line;
    const bool isOneLine =
        !std::memchr(value, '\n', valueSize) && !std::memchr(value, '\r', valueSize);
    if (!isOneLine) appendOneLine(value, value + valueSize, line);
    out.appendN(name, nameSize);
    out.append(": ");
    if (line.failed()) markFailed(out);
    const char* const begin = isOneLine ? value : line.getString();
    const char* const end = begin + (isOneLine ? valueSize : line.getSize());
    writeValue(grammarOf(name, nameSize), begin, end, size_t{nameSize} + 2, codePage, out);
}

}  // namespace mimetree::inner
