// SPDX-License-Identifier: Apache-2.0

// Address lists (RFC 5322 3.4) as real mail has them, in one pass and without recursion.
// getEmailAddresses and getAndRemoveBccAddresses of the node call parseAndLoadList.
//
// AddressListReader gathers what stands in front of an angle bracket (m_words), what stands
// in it (m_angle) and the first comment, and makes a mailbox of them at each separator.

#include "foundation/_zqEmailAddress.h"

#include <cstring>
#include <new>

#include "foundation/bytes/ByteSet.h"
#include "foundation/ExtPtrArray.h"
#include "foundation/LogBase.h"
#include "foundation/bytes/MemoryWatch.h"
#include "foundation/bytes/bytes.h"

using namespace mimetree::inner;

namespace {

struct Span {
    const char* begin = nullptr;
    const char* end = nullptr;

    unsigned size() const { return static_cast<unsigned>(end - begin); }
    bool isEmpty() const { return begin == end; }
    bool has(char c) const { return !isEmpty() && std::memchr(begin, c, size()); }
};

constexpr char kBlank[] = " ";
constexpr Span kOneBlank = {kBlank, kBlank + 1};
constexpr ByteSet kNothing;
constexpr ByteSet kAt("@");
constexpr ByteSet kAtAndDot("@.");
constexpr ByteSet kWordCodings("bBqQ");  // RFC 2047 4

// RFC 2047 2: behind the encoded word that starts at `p`, or null when none does.
// Tolerated: blanks and separators in its text, which some senders leave as they are.
const char* encodedWordEnd(const char* p, const char* end) {
    if (end - p < 2 || p[1] != '?') return nullptr;
    p += 2;
    while (p != end && kTokenBytes.has(*p)) ++p;
    if (end - p < 3 || p[0] != '?' || !kWordCodings.has(p[1]) || p[2] != '?') return nullptr;
    p += 3;
    const void* mark = std::memchr(p, '?', static_cast<size_t>(end - p));
    if (!mark) return nullptr;
    p = static_cast<const char*>(mark) + 1;
    return p != end && *p == '=' ? p + 1 : nullptr;
}

enum class UnitKind { Plain, Quoted, Encoded };

constexpr ByteSet kPlainBytes = ByteSet().range('\x01', '\xFF').without(" \t\"(),:;<>=");

// Walks over a text in units that are never cut: quoted strings, encoded words and runs of
// plain bytes.  Every other byte is a unit of its own.
class UnitCursor {
public:
    explicit UnitCursor(Span text) : m_at(text.begin), m_end(text.end) {}

    bool atEnd() const { return m_at == m_end; }
    char peek() const { return *m_at; }
    const char* at() const { return m_at; }
    void skip() { ++m_at; }

    // The unit at the cursor.  An empty one stands for a quote that is never closed.
    Span next(UnitKind& kind) {
        const char* const begin = m_at;
        if (*begin == '"') {
            kind = UnitKind::Quoted;
            return quoted();
        }
        const char* encodedEnd = *begin == '=' ? encodedWordEnd(begin, m_end) : nullptr;
        kind = encodedEnd ? UnitKind::Encoded : UnitKind::Plain;
        m_at = encodedEnd ? encodedEnd : begin + 1;
        if (kind == UnitKind::Plain)
            while (m_at != m_end && kPlainBytes.has(*m_at)) ++m_at;
        return {begin, m_at};
    }

    // A run of blanks.
    Span blanks() {
        const char* const begin = m_at;
        while (m_at != m_end && bytes::isBlank(*m_at)) ++m_at;
        return {begin, m_at};
    }

    // RFC 5322 3.2.2: a comment, nested ones included, without its outer parentheses.  Empty
    // for one that is never closed, of which only the parenthesis is skipped.
    Span comment() {
        const char* const begin = ++m_at;
        unsigned depth = 1;
        for (const char* p = begin; p != m_end && !m_openComment; ++p) {
            if (*p == '\\' && p + 1 != m_end) {
                ++p;
            } else if (*p == '(') {
                ++depth;
            } else if (*p == ')' && --depth == 0) {
                m_at = p + 1;
                return {begin, p};
            }
        }
        m_openComment = true;
        return {begin, begin};
    }

private:
    // Limit: one search that failed is enough, or a text of quotes would take quadratic time.
    Span quoted() {
        const char* const begin = m_at++;
        for (const char* p = m_at; p != m_end && !m_openQuote; ++p) {
            if (*p == '"') return {begin, m_at = p + 1};
            if (*p == '\\' && p + 1 != m_end) ++p;
        }
        m_openQuote = true;
        return {begin, begin};
    }

    const char* m_at;
    const char* const m_end;
    bool m_openQuote = false, m_openComment = false;
};

Span spanOf(const StringBuffer& s) { return {s.getString(), s.getString() + s.getSize()}; }

void append(StringBuffer& out, Span text) { out.appendN(text.begin, text.size()); }

// Appends a unit, and before it the blanks that stood there, unless `out` is empty or the
// blanks touch one of the bytes in `joins`.
void appendUnit(StringBuffer& out, Span blanks, Span unit, const ByteSet& joins) {
    if (!out.isEmpty() && !joins.has(out.lastChar()) && !joins.has(*unit.begin))
        append(out, blanks);
    append(out, unit);
}

void appendUnescaped(StringBuffer& out, Span text) {
    while (!text.isEmpty()) {
        const void* slash = std::memchr(text.begin, '\\', text.size());
        const char* stop = slash ? static_cast<const char*>(slash) : text.end;
        append(out, {text.begin, stop});
        if (text.end - stop < 2) return append(out, {stop, text.end});
        out.appendChar(stop[1]);
        text.begin = stop + 2;
    }
}

// Appends a display name without its quotes.
void appendName(StringBuffer& out, Span words) {
    UnitCursor cursor(words);
    while (!cursor.atEnd()) {
        UnitKind kind;
        const Span unit = cursor.next(kind);
        if (kind == UnitKind::Quoted && !unit.isEmpty())
            appendUnescaped(out, {unit.begin + 1, unit.end - 1});
        else append(out, unit);
    }
    out.trim2();
}

// RFC 5322 4.4: blanks may surround the "@" and the dots of an old address.
void closeUp(StringBuffer& out, Span words, const ByteSet& joins) {
    UnitCursor cursor(words);
    while (!cursor.atEnd()) {
        const Span blanks = cursor.blanks();
        if (cursor.atEnd()) return;
        UnitKind kind;
        const Span unit = cursor.next(kind);
        if (!unit.isEmpty()) appendUnit(out, blanks, unit, joins);
    }
}

bool hasAtNext(UnitCursor cursor) {
    UnitKind kind;
    const Span unit = cursor.next(kind);
    return kind == UnitKind::Plain && unit.has('@');
}

// A line break goes; the blanks beside it stay, and where there are none it becomes one.
bool unfold(Span text, StringBuffer& out) {
    while (!text.isEmpty()) {
        const size_t n = std::strcspn(text.begin, "\r\n");
        append(out, {text.begin, text.begin + n});
        text.begin += n;
        if (text.isEmpty()) break;
        text.begin += std::strspn(text.begin, "\r\n");
        if (!bytes::isBlank(out.lastChar()) && !bytes::isBlank(*text.begin)) out.appendChar(' ');
    }
    return !out.failed();
}

class AddressListReader {
public:
    AddressListReader(Span text, ExtPtrArray& out) : m_in(text), m_out(out) {}

    bool run() {
        while (!m_in.atEnd() && !m_noMemory) step();
        flush();
        return !m_noMemory;
    }

private:
    void step() {
        switch (m_in.peek()) {
            case ' ':
            case '\t': m_blanks = m_in.blanks(); break;
            case '>':
            case ')': skipAsBlank(); break;
            case ',':
            case ';': readSeparator(); break;
            case '(': readComment(); break;
            case '<': readAngle(); break;
            case ':': readColon(); break;
            default: readWord();
        }
    }

    void readSeparator() {
        m_in.skip();
        flush();
    }

    void skipAsBlank() {
        m_in.skip();
        m_blanks = kOneBlank;
    }

    void readComment() {
        const Span comment = m_in.comment();
        if (m_comment.isEmpty()) {
            appendUnescaped(m_comment, comment);
            m_comment.trim2();
        }
        m_blanks = kOneBlank;
    }

    // RFC 5322 3.4: the name of a group ends here.  Behind an "@" it is no name.
    void readColon() {
        if (m_angle.isEmpty() && m_wordsHaveAt) return readWord();
        m_in.skip();
        if (m_isAngled) flush();
        reset();
    }

    // Tolerated: missing separators.  Behind "<a@b>" and behind "a@b (Comment)" a new mailbox
    // starts.
    void readWord() {
        if (m_isAngled) flush();
        if (m_wordsHaveAt && !m_comment.isEmpty() && !m_blanks.isEmpty() &&
            !kAtAndDot.has(m_words.lastChar()) && m_in.peek() != '.')
            flush();
        UnitKind kind;
        const Span unit = m_in.next(kind);
        if (unit.isEmpty()) {
            m_blanks = kOneBlank;
            return;
        }
        appendUnit(m_words, m_blanks, unit, kNothing);
        m_blanks = {};
        m_wordsHaveAt = m_wordsHaveAt || (kind == UnitKind::Plain && unit.has('@'));
    }

    // Takes "<...>" without blanks, comments and route.
    // Tolerated: an open bracket ends at the next one, or at a separator behind an "@".
    void readAngle() {
        if (!m_angle.isEmpty()) flush();
        m_in.skip();
        m_blanks = {};
        bool isRoute = false, hasAt = false;
        while (!m_in.atEnd() && m_in.peek() != '<') {
            const char c = m_in.peek();
            if (c == '>') {
                m_isAngled = true;
                return m_in.skip();
            }
            if ((c == ',' || c == ';') && hasAt && !isRoute) return;
            if (c == '(') {
                readComment();
            } else if (bytes::isBlank(c)) {
                m_blanks = m_in.blanks();
            } else if (c == ':' && isRoute) {  // RFC 5322 4.4: <@relay,@other:user@host>
                m_in.skip();
                m_angle.weakClear();
                isRoute = hasAt = false;
            } else {
                isRoute = isRoute || (m_angle.isEmpty() && c == '@');
                hasAt = readAngleUnit() || hasAt;
            }
        }
    }

    // True when the unit has an "@".
    bool readAngleUnit() {
        UnitKind kind;
        const Span unit = m_in.next(kind);
        if (unit.isEmpty()) return false;
        appendUnit(m_angle, m_blanks, unit, kAtAndDot);
        m_isAngled = true;
        m_blanks = {};
        return kind == UnitKind::Plain && unit.has('@');
    }

    void flush() {
        check(m_words);
        check(m_angle);
        check(m_comment);
        if (!m_angle.isEmpty()) add(spanOf(m_words), spanOf(m_angle));
        else if (m_wordsHaveAt) addBareAddresses();
        else if (m_isAngled && !m_words.isEmpty()) add(spanOf(m_words), {});
        else if (!m_words.isEmpty()) add({}, spanOf(m_words));
        if (m_last && m_last->m_displayName.isEmpty())
            m_last->m_displayName.getUtf8Sb_rw().swap(m_comment);
        reset();
    }

    // Tolerated: "Joe Bloggs joe@x" and "a@b c@d".  Each word with an "@" ends a mailbox,
    // named by the words in front of it; those behind the last one go to its name.  Words with
    // dots between them all are one ("john . doe@test . example"), but "Joe Q. joe@x" is two.
    void addBareAddresses() {
        StringBuffer words;
        closeUp(words, spanOf(m_words), kAt);
        check(words);
        UnitCursor cursor(spanOf(words));
        const char* name = cursor.at();
        const char* word = name;
        for (bool hasAt = false; !cursor.atEnd();) {
            UnitKind kind;
            const Span unit = cursor.next(kind);
            hasAt = hasAt || (kind == UnitKind::Plain && unit.has('@'));
            const char* const end = cursor.at();
            if (!cursor.atEnd() && cursor.blanks().isEmpty()) continue;
            const bool isDotted = !cursor.atEnd() && (end[-1] == '.' || cursor.peek() == '.');
            if (isDotted && (hasAt ? !hasAtNext(cursor) : word == name)) continue;
            if (hasAt) {
                addBare({name, word}, {word, end});
                name = cursor.at();
            }
            hasAt = false;
            word = cursor.at();
        }
        // A dropped comment can leave what now reads as an encoded word around the "@".
        if (!m_last) return add({}, spanOf(words));
        appendName(m_last->m_displayName.getUtf8Sb_rw(), {name, cursor.at()});
        check(m_last->m_displayName.getUtf8Sb());
    }

    void addBare(Span name, Span address) {
        m_angle.weakClear();
        closeUp(m_angle, address, kAtAndDot);
        check(m_angle);
        add(name, spanOf(m_angle));
    }

    void add(Span name, Span address) {
        m_last = notingRefusal(new (std::nothrow) _zqEmailAddress);
        if (!m_last || !m_out.appendPtr(m_last)) {
            delete m_last;
            m_last = nullptr;
            m_noMemory = true;
            return;
        }
        appendName(m_last->m_displayName.getUtf8Sb_rw(), name);
        append(m_last->m_address.getUtf8Sb_rw(), address);
        check(m_last->m_displayName.getUtf8Sb());
        check(m_last->m_address.getUtf8Sb());
    }

    void check(const StringBuffer& text) { m_noMemory = m_noMemory || text.failed(); }

    void reset() {
        m_words.weakClear();
        m_angle.weakClear();
        m_comment.weakClear();
        m_blanks = {};
        m_wordsHaveAt = m_isAngled = false;
        m_last = nullptr;
    }

    UnitCursor m_in;
    ExtPtrArray& m_out;
    StringBuffer m_words;  // as written, blanks between them included
    StringBuffer m_angle;  // the address in angle brackets
    StringBuffer m_comment;
    Span m_blanks;               // those in front of the cursor
    bool m_wordsHaveAt = false;  // outside quotes
    bool m_isAngled = false;     // there was an angle, if only an empty one
    bool m_noMemory = false;
    _zqEmailAddress* m_last = nullptr;  // what this flush added, owned by m_out
};

}  // namespace

bool _zqEmailAddress::parseAndLoadList(const char* text, ExtPtrArray& out, int, LogBase& log) {
    if (!text) return true;
    Span list = {text, text + std::strlen(text)};
    StringBuffer unfolded;
    bool done = true;
    if (list.has('\r') || list.has('\n')) {
        done = unfold(list, unfolded);
        list = spanOf(unfolded);
    }
    done = done && AddressListReader(list, out).run();
    if (!done) log.logError("No memory left for the address list.");
    return done;
}
