// SPDX-License-Identifier: Apache-2.0
//
// The parameters of Content-Type and Content-Disposition values (RFC 2045 5.1, RFC 2231), as
// they are found in mail rather than in the grammar.  HeaderParams walks them as written;
// findHeaderParam, which MimeHeader and _zqContentType call, gathers the pieces of a long or
// encoded one; appendHeaderParam, which their builders and HeaderWriter.cpp call, writes.

#include "foundation/header/HeaderParams.h"

#include "foundation/ContentCoding.h"
#include "foundation/DataBuffer.h"
#include "foundation/EncodingConvert.h"
#include "foundation/LogNull.h"
#include "foundation/_zqUtf.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/GrowArray.h"
#include "foundation/bytes/bytes.h"
#include "foundation/bytes/ranges.h"
#include "foundation/charset/code_pages.h"

#include <cstring>

namespace mimetree::inner {

namespace {

// What unquoted values are made of where no blank is in them.
constexpr ByteSet kValueBytes = kTokenBytes.with("/?=:@[],<>").range('\x80', '\xFF');

const char* trimBack(const char* begin, const char* end) {
    while (end != begin && bytes::isSpace(end[-1])) --end;
    return end;
}

const char* findOrEnd(const char* p, const char* end, char c) {
    const void* found = p == end ? nullptr : std::memchr(p, c, static_cast<size_t>(end - p));
    return found ? static_cast<const char*>(found) : end;
}

// Tolerated: a ";" that is missing between unquoted parameters ("charset=utf-8 name=a.txt").
// Only in front of these names, since "name=Copy of a=b.txt" is one value.
bool startsParam(const char* p, const char* end) {
    static constexpr const char* kNames[] = {"boundary", "charset", "filename", "format",
                                             "micalg",   "name",    "protocol", "type"};
    for (const char* name : kNames) {
        const size_t n = std::strlen(name);
        if (static_cast<size_t>(end - p) <= n || !bytes::equalIgnoreCase(p, name, n)) continue;
        if (p[n] == '=' || p[n] == '*') return true;
    }
    return false;
}

// Where an unquoted text that starts at `p` ends: at a ";", or at a parameter behind blanks.
bool endsText(const char* q, const char* p, const char* end) {
    if (*q == ';') return true;
    return q != p && bytes::isSpace(q[-1]) && !bytes::isSpace(*q) && startsParam(q, end);
}

const char* textEnd(const char* p, const char* end) {
    const char* q = p;
    while (q != end && !endsText(q, p, end)) ++q;
    return q;
}

// The same, but nothing within a pair of quotes ends the text.
const char* quotingTextEnd(const char* p, const char* end) {
    const char* close = p;
    for (const char* q = p; q != end; ++q) {
        if (endsText(q, p, end)) return q;
        if (*q != '"' || close == end) continue;
        close = findOrEnd(q + 1, end, '"');
        if (close != end) q = close;
    }
    return end;
}

// The quote that ends a quoted value which starts at `p`, or `end`.  Tolerated: backslashes in
// Windows paths.  Only \" is an escape; and a \" with a ";" or the end behind it closes the
// value ("C:\";) when the next quote, if there is any, opens another value.
const char* closingQuote(const char* p, const char* end) {
    const char* lastChance = nullptr;
    const char* q = p;
    for (; q != end && *q != '"'; ++q) {
        if (*q != '\\' || q + 1 == end || q[1] != '"') continue;
        ++q;
        const char* const behind = lastChance ? q : skipSpace(q + 1, end);
        if (!lastChance && (behind == end || *behind == ';')) lastChance = q;
    }
    if (!lastChance || q == end) return lastChance ? lastChance : q;
    return trimBack(lastChance, q)[-1] == '=' ? lastChance : q;
}

// Only \" is one.
void dropEscapes(StringBuffer& value) {
    char* const begin = value.getString_rw();
    const char* const end = begin + value.getSize();
    char* to = const_cast<char*>(findOrEnd(begin, end, '\\'));
    for (const char* p = to; p != end; ++p) {
        if (*p == '\\' && end - p > 1 && p[1] == '"') ++p;
        *to++ = *p;
    }
    value.shorten(sizeOf(to, end));
}

}  // namespace

HeaderParams::HeaderParams(const char* value, unsigned int size)
    : m_begin(value), m_start(textEnd(value, value + size)), m_at(m_start), m_end(value + size) {}

// RFC 2045 5.1: a comment behind the type is no part of it.
void HeaderParams::getMainValue(StringBuffer& out) const {
    const char* const stop = textEnd(m_begin, m_end);
    const char* const from = skipSpace(m_begin, stop);
    const char* to = skip(from, stop, kValueBytes);
    const char* const behind = skipSpace(to, stop);
    const bool isType = to != from && behind != stop && *behind == '(';
    if (!isType || trimBack(behind, stop)[-1] != ')') to = trimBack(from, stop);
    out.appendN(from, sizeOf(from, to));
}

bool HeaderParams::next() { return nextUncopied() && copyValue(); }

// Tolerated: doubled ";", comments, and names that have no value.
bool HeaderParams::nextUncopied() {
    while (m_at != m_end) {
        m_start = skipComments(m_at);
        if (m_start != m_end && *m_start == ';') {
            m_at = m_start + 1;
            continue;
        }
        if (!readName()) continue;
        findValue();
        return true;
    }
    m_start = m_end;
    return false;
}

bool HeaderParams::readName() {
    const char* q = m_start;
    while (q != m_end && *q != '=' && *q != ';') ++q;
    m_at = q;
    if (q == m_end || *q == ';') return false;
    const char* const nameEnd = trimBack(m_start, q);
    m_at = q + 1;
    m_name.weakClear();
    m_name.appendN(m_start, sizeOf(m_start, nameEnd));
    return true;
}

void HeaderParams::findValue() {
    m_at = skipSpace(m_at, m_end);
    m_written.isQuoted = m_at != m_end && *m_at == '"';
    if (m_written.isQuoted) findQuoted();
    else findUnquoted();
}

// Tolerated: a value with blanks in it, which runs to the next ";".  A comment is dropped
// only when it stands behind a single word and nothing follows: "name=photo (1).jpg" has none.
void HeaderParams::findUnquoted() {
    auto& [from, to, isQuoted] = m_written;
    from = m_at;
    to = skip(from, m_end, kValueBytes);
    m_at = to == from ? to : skipComments(to);
    const bool isWord = m_at == m_end || *m_at == ';' || (m_at != to && startsParam(m_at, m_end));
    if (isWord) return;
    m_at = quotingTextEnd(m_at, m_end);
    to = trimBack(from, m_at);
}

// Tolerated: a value that is never closed; it runs to the end.
void HeaderParams::findQuoted() {
    m_written.begin = m_at + 1;
    m_written.end = m_at = closingQuote(m_at + 1, m_end);
    if (m_at != m_end) ++m_at;
}

bool HeaderParams::copyValue() {
    m_value.weakClear();
    const bool isCopied = m_value.appendN(m_written.begin, m_written.size());
    if (m_written.isQuoted) dropEscapes(m_value);
    return isCopied;
}

// Skips white space and comments.
const char* HeaderParams::skipComments(const char* p) {
    for (;;) {
        p = skipSpace(p, m_end);
        const char* const behind = p != m_end && *p == '(' && m_hasComments ? skipComment(p) : p;
        if (behind == p) return p;
        p = behind;
    }
}

// RFC 5322 3.2.2: comments nest.  Limit: after one that is never closed none is looked for.
const char* HeaderParams::skipComment(const char* p) {
    unsigned depth = 0;
    for (const char* q = p; q != m_end; ++q) {
        if (*q == '\\' && q + 1 != m_end) ++q;
        else if (*q == '(') ++depth;
        else if (*q == ')' && --depth == 0) return q + 1;
    }
    m_hasComments = false;
    return p;
}

void narrowTo(const WrittenValue& value, StringBuffer& text) {
    text.shorten(text.getSize() - sizeOf(text.getString(), value.end));
    text.removeFront(sizeOf(text.getString(), value.begin));
    if (value.isQuoted) dropEscapes(text);
}

// -- Finding

namespace {

// One of the parameters name*0, name*0*, name*1 ... of a value.
struct Piece {
    unsigned number : 31;
    unsigned isEncoded : 1;
    unsigned offset;  // of its text; the next one's begins behind it
};

// What stands behind the name of a parameter.
enum class Form { Other, Plain, Extended, Numbered };

// RFC 2231 3 and 4: the pieces of a value, in any order.
class PieceCollector {
public:
    bool add(const HeaderParams& params, Piece piece);

    // Appends the pieces from 0 on, without a gap, as one extended value.
    bool join(StringBuffer& out) const;

private:
    bool appendPiece(unsigned index, StringBuffer& out) const;

    StringBuffer m_text;
    GrowArray<Piece> m_pieces;
};

Form formOf(const StringBuffer& param, const char* name, size_t nameSize, Piece& piece) {
    const char* p = param.getString();
    const char* const end = p + param.getSize();
    if (param.getSize() < nameSize || !bytes::equalIgnoreCase(p, name, nameSize))
        return Form::Other;
    p += nameSize;
    if (p == end) return Form::Plain;
    if (*p++ != '*') return Form::Other;
    if (p == end) return Form::Extended;
    unsigned number = 0;
    const char* const digits = p;
    while (p != end && bytes::isDigit(*p) && p - digits < 8)
        number = number * 10 + static_cast<unsigned>(*p++ - '0');
    piece.number = number & 0x7FFFFFFFu;
    piece.isEncoded = p != end && *p == '*';
    const char* const stop = piece.isEncoded ? p + 1 : p;
    return p != digits && stop == end ? Form::Numbered : Form::Other;
}

bool PieceCollector::add(const HeaderParams& params, Piece piece) {
    piece.offset = m_text.getSize();
    return m_text.append(params.value()) && m_pieces.push(piece);
}

// With n pieces, only the numbers below n can follow one another without a gap.
bool PieceCollector::join(StringBuffer& out) const {
    const unsigned n = m_pieces.size(), kNone = n;
    GrowArray<unsigned> byNumber;
    if (!byNumber.reserve(n) || !out.reserve(m_text.getSize())) return false;
    for (unsigned i = 0; i < n; ++i) byNumber.push(kNone);
    for (unsigned i = 0; i < n; ++i) {
        const unsigned number = m_pieces[i].number;
        if (number < n && byNumber[number] == kNone) byNumber[number] = i;
    }
    for (unsigned i = 0; i < n && byNumber[i] != kNone; ++i)
        if (!appendPiece(byNumber[i], out)) return false;
    return n != 0 && byNumber[0] != kNone;
}

// RFC 2231 4.1: the first piece names the charset, if it is an encoded one.  The apostrophes
// and plain percent signs of the others are protected from being taken for one or for escapes.
bool PieceCollector::appendPiece(unsigned index, StringBuffer& out) const {
    const Piece& piece = m_pieces[index];
    const bool isLast = index + 1 == m_pieces.size();
    const char* p = m_text.getString() + piece.offset;
    const char* const end =
        m_text.getString() + (isLast ? m_text.getSize() : m_pieces[index + 1].offset);
    if (piece.number == 0 && piece.isEncoded) return out.appendN(p, sizeOf(p, end));
    bool ok = true;
    for (; p != end; ++p) {
        if (*p == '\'') ok = out.append("%27") && ok;
        else if (*p == '%' && !piece.isEncoded) ok = out.append("%25") && ok;
        else ok = out.appendChar(*p) && ok;
    }
    return ok;
}

// Takes the value of a parameter as it is written; what that needs is given back behind it.
Form takeWritten(const char* value, unsigned size, const char* name, StringBuffer& out) {
    const size_t nameSize = std::strlen(name);
    HeaderParams params(value, size);
    PieceCollector pieces;
    bool hasExtended = false;
    while (params.next()) {
        Piece piece = {};
        const Form form = formOf(params.name(), name, nameSize, piece);
        if (form == Form::Numbered && !pieces.add(params, piece)) return Form::Other;
        if (form == Form::Plain || (form == Form::Extended && !hasExtended))
            out.swap(params.value_rw());
        if (form == Form::Plain) return form;
        hasExtended = hasExtended || form == Form::Extended;
    }
    return hasExtended || pieces.join(out) ? Form::Extended : Form::Other;
}

}  // namespace

bool decodeExtended(const StringBuffer& value, StringBuffer& out) {
    StringBuffer text, charset;
    LogNull log;
    if (!ContentCoding().decodeStarEncoded(value, nullptr, text, charset, log)) return false;
    out.swap(text);
    return true;
}

bool findHeaderParam(const char* value, unsigned int size, const char* name, StringBuffer& out) {
    StringBuffer written;
    const Form form = takeWritten(value, size, name, written);
    if (written.failed() || form == Form::Other) return false;
    if (form == Form::Extended) return decodeExtended(written, out);
    out.swap(written);
    return true;
}

// -- Writing

namespace {

constexpr ByteSet kQuotedBytes = ByteSet().range(' ', '~').without("\"\\");

// RFC 2231 7: attribute-char.
constexpr ByteSet kAttributeBytes = kTokenBytes.without("*'%");

bool consistsOf(const StringBuffer& s, const ByteSet& set) {
    const char* const end = s.getString() + s.getSize();
    return skip(s.getString(), end, set) == end;
}

void appendEscaped(const StringBuffer& value, StringBuffer& out) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    const char* p = value.getString();
    const char* const end = p + value.getSize();
    while (p != end) {
        const char* const stop = skip(p, end, kAttributeBytes);
        out.appendN(p, sizeOf(p, stop));
        p = stop;
        if (p == end) break;
        const unsigned char c = static_cast<unsigned char>(*p++);
        const char escape[3] = {'%', kHex[c >> 4], kHex[c & 15]};
        out.appendN(escape, 3);
    }
}

bool isInEscape(const char* p) { return p[-1] == '%' || p[-2] == '%'; }

// An escaped continuation byte of UTF-8.
bool isContinuation(const char* p) { return p[0] == '%' && bytes::hexValue(p[1]) / 4 == 2; }

// Where to cut escaped text, at most `size` bytes behind `p`: not within a character, since
// readers decode each piece for itself.
const char* pieceEnd(const char* p, unsigned size) {
    const char* stop = p + size;
    while (isInEscape(stop)) --stop;
    const char* start = stop;
    for (int i = 0; i < 3 && isContinuation(start); ++i) start -= 3;
    return isContinuation(start) || isInEscape(start) ? stop : start;
}

// RFC 2231 3: a value that does not fit on a line of its own is cut into numbered pieces.
void appendExtended(const char* name, const StringBuffer& value, StringBuffer& out) {
    constexpr size_t kColumns = 76, kNumber = 6, kLeast = 30;
    const size_t nameSize = std::strlen(name) + kNumber;
    const auto room =
        static_cast<unsigned>(nameSize < kColumns - kLeast ? kColumns - nameSize : kLeast);
    StringBuffer text;
    text.append("utf-8''");
    appendEscaped(value, text);
    if (text.failed()) out.markFailed();
    if (text.getSize() <= room) {
        out.append3("*=", text.getString(), "");
        return;
    }
    const char* p = text.getString();
    const char* const end = p + text.getSize();
    for (int number = 0; p != end; ++number) {
        const char* const stop = sizeOf(p, end) <= room ? end : pieceEnd(p, room);
        if (number > 0) out.append3("; ", name, "");
        out.appendChar('*');
        out.append(number);
        out.append("*=");
        out.appendN(p, sizeOf(p, stop));
        p = stop;
    }
}

// Bytes that are no UTF-8 become characters, as everywhere that text is written.
bool appendValid(const StringBuffer& value, StringBuffer& out) {
    const auto* const text = reinterpret_cast<const unsigned char*>(value.getString());
    if (_zqUtf::isValidUtf8(text, value.getSize(), 0)) return out.append(value);
    DataBuffer valid;
    LogNull log;
    return EncodingConvert::EncConvert(codepage::kUtf8, codepage::kUtf8, text, value.getSize(),
                                       valid, log) &&
           out.append(valid);
}

// RFC 2046 5.1.1: boundaries, which readers want in one piece, have up to 70 characters.
constexpr unsigned kMaxPlain = 70;

}  // namespace

void makeBoundarySafe(char* boundary, unsigned int size) {
    for (char* p = boundary; p != boundary + size; ++p)
        if (*p == '\r' || *p == '\n' || *p == '\0') *p = ' ';
}

// Kept on purpose: a plain value with "'", "*" or "%" is quoted, since some readers take any
// such token for an extended one; a value with "=?" in it is percent-encoded, since readers decode
// encoded words even where RFC 2047 5 forbids them.
void appendHeaderParam(const char* name, const StringBuffer& value, StringBuffer& out) {
    StringBuffer line;
    if (!appendValid(value, line)) out.markFailed();
    line.replaceCharAnsi('\r', ' ');
    line.replaceCharAnsi('\n', ' ');
    out.append3("; ", name, "");
    const bool isShort = line.getSize() <= kMaxPlain;
    if (isShort && !line.isEmpty() && consistsOf(line, kAttributeBytes)) {
        out.append3("=", line.getString(), "");
    } else if (isShort && consistsOf(line, kQuotedBytes) && !line.containsSubstring("=?")) {
        out.append3("=\"", line.getString(), "\"");
    } else {
        appendExtended(name, line, out);
    }
}

}  // namespace mimetree::inner
