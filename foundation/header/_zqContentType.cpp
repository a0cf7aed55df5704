// SPDX-License-Identifier: Apache-2.0

// The Content-Type record: one pass over a field's value fills it and the charset, and
// buildMimeHeaderValue writes both as a value again.  The node loads it for every part that
// it reads and builds it whenever a setter changed the record.

#include "foundation/_zqContentType.h"

#include <cstring>
#include <string_view>

#include "foundation/LogBase.h"
#include "foundation/_zqCharset.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"
#include "foundation/bytes/ranges.h"
#include "foundation/header/HeaderParams.h"

using namespace mimetree::inner;

namespace {

enum class Quotes { IfNeeded, Always };

struct Param {
    std::string_view name;
    StringBuffer _zqContentType::*field;  // null for the two that are no text of the record
    Quotes quotes;
};

// In the order in which they are written.
// Tolerated: readers that find a boundary, name or protocol only in quotes.
constexpr Param kParams[] = {
    {"charset", nullptr, Quotes::IfNeeded},
    {"format", nullptr, Quotes::IfNeeded},
    {"name", &_zqContentType::m_name, Quotes::Always},
    {"protocol", &_zqContentType::m_protocol, Quotes::Always},
    {"micalg", &_zqContentType::m_micalg, Quotes::IfNeeded},
    {"boundary", &_zqContentType::m_boundary, Quotes::Always},
    {"smime-type", &_zqContentType::m_smimeType, Quotes::IfNeeded},
    {"type", &_zqContentType::m_subType, Quotes::IfNeeded},
    {"report-type", &_zqContentType::m_reportType, Quotes::IfNeeded},
};
constexpr unsigned kCharset = 0, kFormat = 1, kBoundary = 5,
                   kParamCount = sizeof kParams / sizeof kParams[0];

// The place in kParams of a name; kParamCount for one that the record does not hold.
unsigned indexOf(const char* name, size_t size) {
    unsigned i = 0;
    while (i < kParamCount && (kParams[i].name.size() != size ||
                               !bytes::equalIgnoreCase(kParams[i].name.data(), name, size)))
        ++i;
    return i;
}

// What is read without a second look.
constexpr ByteSet kUsualNameBytes = kTokenBytes.without("*");
constexpr ByteSet kUsualBytes = kTokenBytes.with("/?=:@");
constexpr ByteSet kUsualCharsetBytes = kTokenBytes.without("'");

// -- The type

// Behind the comment (RFC 822 3.4.3) that starts at `p`.
// Tolerated: one that is never closed ends where the parameters begin.
const char* skipComment(const char* p, const char* end) {
    const char* const begin = p;
    for (unsigned depth = 0; p != end; ++p) {
        if (*p == '\\' && p + 1 != end) {
            ++p;
        } else if (*p == '(') {
            ++depth;
        } else if (*p == ')' && --depth == 0) {
            return p + 1;
        }
    }
    const void* semicolon = std::memchr(begin, ';', static_cast<size_t>(end - begin));
    return semicolon ? static_cast<const char*>(semicolon) : end;
}

// Tolerated: the whole value in quotes, parameters and all; `p` and `end` move inside them.
void dropOuterQuotes(const char*& p, const char*& end) {
    while (p != end && bytes::isSpace(*p)) ++p;
    while (p != end && bytes::isSpace(end[-1])) --end;
    if (end - p < 2 || *p != '"' || end[-1] != '"') return;
    ++p;
    --end;
}

constexpr ByteSet kEndsWord(" \t\r\n;,(\"");

// Appends the type at the start of a value and gives where the parameters begin: at a ";" or
// ",", or at the end.  Comments and quotes are dropped, and blanks at both ends and around "/".
// Tolerated: "text/html charset=utf-8", where the words behind a complete type are not
// separated from it, and "text/html, charset=utf-8"; they count as parameters.
const char* readType(const char* p, const char* end, StringBuffer& type) {
    bool gap = false, hasSlash = false;
    while (p != end && *p != ';') {
        if (*p == ',' && !type.isEmpty()) return p;
        if (kEndsWord.has(*p)) {
            gap = true;
            p = *p == '(' ? skipComment(p, end) : p + 1;
            continue;
        }
        const char* word = p;
        while (p != end && !kEndsWord.has(*p)) ++p;
        if (gap && hasSlash && type.lastChar() != '/') return word;
        if (gap && !type.isEmpty() && type.lastChar() != '/' && *word != '/') type.appendChar(' ');
        type.appendN(word, sizeOf(word, p));
        hasSlash = hasSlash || std::memchr(word, '/', static_cast<size_t>(p - word));
        gap = false;
    }
    return p;
}

// -- The charset

constexpr ByteSet kAroundCharset(" \t\r\n\"';");
constexpr ByteSet kBehindCharset(" \t\r\n\"';,(");

// Tolerated: "utf-8;", "'utf-8'", "charset=utf-8" and "us-ascii (Plain text)" as values.
bool setCharset(_zqCharset& charset, StringBuffer& value) {
    const char* p = value.getString();
    const char* const end = p + value.getSize();
    for (;;) {
        while (p != end && kAroundCharset.has(*p)) ++p;
        if (end - p < 8 || !bytes::equalIgnoreCase(p, "charset=", 8)) break;
        p += 8;
    }
    const char* nameEnd = p;
    while (nameEnd != end && !kBehindCharset.has(*nameEnd)) ++nameEnd;
    return value.setStringN(p, sizeOf(p, nameEnd)) && charset.setByName(value.getString());
}

// -- The parameters

class ParamLoader {
public:
    ParamLoader(_zqContentType& record, _zqCharset& charset, LogBase& log)
        : m_record(record), m_charset(charset), m_log(log) {}

    // `text` starts at the first ";".  A value that is most of a long text is not copied out of
    // it where `own` holds the text, but what that is narrowed to in the end.
    void run(const char* text, unsigned size, StringBuffer* own) {
        HeaderParams params(text, size);
        const unsigned longOne = own && isLong(size) ? size / 2 : size;
        while (params.nextUncopied())
            if (!take(params, params.written().size() > longOne)) return;
        for (unsigned i = 0; i < kParamCount; ++i)
            if (m_extended >> i & 1u && i != m_long) takeExtended(text, size, i);
        if (m_long != kParamCount) takeLong(*own);
    }

    static bool isLong(unsigned size) { return size >= 4096; }

private:
    // The first of a name wins.
    // RFC 2231 3: name*, name*0 and the like are pieces, left for later: a plain value, which
    // may still follow, is preferred.  False when memory is exhausted.
    bool take(HeaderParams& params, bool isLong) {
        const StringBuffer& name = params.name();
        const char* text = name.getString();
        const void* star = std::memchr(text, '*', name.getSize());
        const size_t size =
            star ? static_cast<size_t>(static_cast<const char*>(star) - text) : name.getSize();
        const unsigned i = indexOf(text, size);
        if (i == kParamCount) return true;
        unsigned& known = star ? m_extended : m_seen;
        const bool isFirst = !(known >> i & 1u);
        known |= 1u << i;
        if (isFirst && isLong && (!star || size + 1 == name.getSize())) {
            m_long = i;
            m_longValue = params.written();
            m_isLongExtended = star != nullptr;
        } else if (isFirst && !star) {
            if (!params.copyValue()) return false;
            store(i, params.value_rw());
        }
        return true;
    }

    void takeLong(StringBuffer& text) {
        if (m_isLongExtended && m_seen >> m_long & 1u) return;
        narrowTo(m_longValue, text);
        if (!m_isLongExtended || decodeExtended(text, text)) store(m_long, text);
    }

    void takeExtended(const char* text, unsigned size, unsigned i) {
        StringBuffer value;
        if (findHeaderParam(text, size, kParams[i].name.data(), value)) store(i, value);
    }

    // Takes the text out of `value`, which costs no copy.
    void store(unsigned i, StringBuffer& value) {
        if (i == kCharset) {
            if (!setCharset(m_charset, value))
                m_log.verboseData("unknownCharset", value.getString());
        } else if (i == kFormat) {
            value.trim2();
            m_record.m_formatFlowed = value.equalsIgnoreCase("flowed");
        } else {
            (m_record.*kParams[i].field).swap(value);
            if (i == kBoundary)
                makeBoundarySafe(m_record.m_boundary.getString_rw(), m_record.m_boundary.getSize());
        }
    }

    _zqContentType& m_record;
    _zqCharset& m_charset;
    LogBase& m_log;
    unsigned m_seen = 0, m_extended = 0;  // a bit for each of kParams
    unsigned m_long = kParamCount;        // of which the value is m_longValue
    WrittenValue m_longValue;
    bool m_isLongExtended = false;
};

bool isToken(const StringBuffer& value) {
    const char* p = value.getString();
    const char* const end = p + value.getSize();
    while (p != end && kTokenBytes.has(*p)) ++p;
    return p == end;
}

void appendParam(const Param& param, const StringBuffer& value, StringBuffer& out) {
    if (value.isEmpty()) return;
    if (param.quotes == Quotes::IfNeeded || !isToken(value)) {
        appendHeaderParam(param.name.data(), value, out);
        return;
    }
    out.append3("; ", param.name.data(), "=\"");
    out.append(value);
    out.appendChar('"');
}

// A value in quotes without a backslash, or a word; moves `p` behind it.  False for others.
bool readUsualValue(const char*& p, const char* end, const char*& text, const char*& textEnd) {
    text = p;
    if (p != end && *p == '"') {
        ++text;
        textEnd = text;
        while (textEnd != end && *textEnd != '"' && *textEnd != '\\') ++textEnd;
        if (textEnd == end || *textEnd == '\\') return false;
        p = textEnd + 1;
        return true;
    }
    while (p != end && kUsualBytes.has(*p)) ++p;
    textEnd = p;
    return p != text;
}

}  // namespace

// RFC 2045 5.1 as nearly everybody writes it: type; name=word; name="text".  False, the record in
// any state, for all else, which is read with all tolerance.
bool _zqContentType::loadUsual(const char* p, const char* end, _zqCharset& charset) {
    const char* const type = p;
    while (p != end && !kEndsWord.has(*p)) ++p;
    if (p == type || !m_type.setStringN(type, sizeOf(type, p))) return false;
    for (unsigned seen = 0;;) {
        p = skipSpace(p, end);
        if (p == end) return true;
        if (*p != ';') return false;
        p = skipSpace(p + 1, end);
        if (p == end) return true;
        const char* const name = p;
        while (p != end && kUsualNameBytes.has(*p)) ++p;
        if (p == name || p == end || *p != '=') return false;
        const unsigned i = indexOf(name, static_cast<size_t>(p - name));
        const char *text, *textEnd;
        if (!readUsualValue(++p, end, text, textEnd)) return false;
        if (i == kParamCount || seen >> i & 1u) continue;
        seen |= 1u << i;
        if (!storeUsual(i, text, textEnd, charset)) return false;
    }
}

bool _zqContentType::storeUsual(unsigned int param, const char* p, const char* end,
                                _zqCharset& charset) {
    if (kParams[param].field) {
        StringBuffer& field = this->*kParams[param].field;
        const bool isStored = field.setStringN(p, sizeOf(p, end));
        if (param == kBoundary) makeBoundarySafe(field.getString_rw(), field.getSize());
        return isStored;
    }
    for (const char* q = p; q != end; ++q)
        if (!kUsualCharsetBytes.has(*q)) return false;
    if (param == kCharset) return charset.setByName(p, sizeOf(p, end));
    m_formatFlowed = end - p == 6 && bytes::equalIgnoreCase(p, "flowed", 6);
    return true;
}

void _zqContentType::clear() {
    m_type.clear();
    for (const Param& param : kParams)
        if (param.field) (this->*param.field).clear();
    m_formatFlowed = false;
}

void _zqContentType::copyFrom(const _zqContentType& other) {
    m_type = other.m_type;
    for (const Param& param : kParams)
        if (param.field) this->*param.field = other.*param.field;
    m_formatFlowed = other.m_formatFlowed;
}

bool _zqContentType::holds(const char* p) const {
    for (const Param& param : kParams)
        if (param.field && (this->*param.field).owns(p)) return true;
    return m_type.owns(p);
}

void _zqContentType::loadFromMimeHeaderValue(const char* value, _zqCharset& charset, LogBase& log) {
    StringBuffer copy;
    if (charset.holds(value) || holds(value)) {
        copy.setString(value);
        value = copy.getString();
    }
    const char* const text = value ? value : "";
    loadFromMimeHeaderValue(text, static_cast<unsigned>(std::strlen(text)), charset, log);
}

void _zqContentType::loadFromMimeHeaderValue(const char* value, unsigned int size,
                                             _zqCharset& charset, LogBase& log) {
    clear();
    charset.clear();
    if (!loadUsual(value, value + size, charset))
        loadTolerantly(value, value + size, nullptr, charset, log);
}

void _zqContentType::loadFromMimeHeaderValue(StringBuffer& value, _zqCharset& charset,
                                             LogBase& log) {
    const char* const text = value.getString();
    const auto size = static_cast<unsigned>(std::strlen(text));
    if (!ParamLoader::isLong(size)) loadFromMimeHeaderValue(text, size, charset, log);
    else loadTolerantly(text, text + size, &value, charset, log);
}

void _zqContentType::loadTolerantly(const char* value, const char* end, StringBuffer* own,
                                    _zqCharset& charset, LogBase& log) {
    clear();
    charset.clear();
    dropOuterQuotes(value, end);
    const char* rest = readType(value, end, m_type);
    if (rest == end) return;

    ParamLoader loader(*this, charset, log);
    if (*rest == ';') {
        loader.run(rest, sizeOf(rest, end), own);
        return;
    }
    if (*rest == ',') ++rest;
    StringBuffer separated;
    if (separated.appendChar(';') && separated.appendN(rest, sizeOf(rest, end)))
        loader.run(separated.getString(), separated.getSize(), &separated);
}

void _zqContentType::buildMimeHeaderValue(StringBuffer& out, const _zqCharset& charset, bool, bool,
                                          LogBase&) const {
    out.append(m_type.isEmpty() ? "text/plain" : m_type.getString());
    for (unsigned i = 0; i < kParamCount; ++i) {
        if (i == kFormat) {
            if (m_formatFlowed) out.append("; format=flowed");
        } else if (i == kCharset) {
            StringBuffer name;
            name.setString(charset.getName());
            appendParam(kParams[i], name, out);
        } else {
            appendParam(kParams[i], this->*kParams[i].field, out);
        }
    }
}
