// SPDX-License-Identifier: Apache-2.0

// The properties that a node caches from its header: content type with charset, content id,
// disposition with file name, transfer encoding.  load.cpp fills all four behind every header
// that it loads; fields.cpp and properties.cpp refill the one whose field they changed.

#include <cstring>
#include <string_view>

#include "foundation/ContentCoding.h"
#include "foundation/LogNull.h"
#include "foundation/ParamString.h"
#include "foundation/base/quoted_parts.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/bytes.h"
#include "foundation/bytes/ranges.h"
#include "foundation/header/plain_value.h"
#include "foundation/zqStrings.h"
#include "mime/node/internal.h"
#include "mime/node/type_traits.h"

using namespace mimetree::inner;

namespace {

constexpr ByteSet kBlanks(" \t");
constexpr ByteSet kQuotedBytes = ByteSet().range('\0', '\xFF').without("\"\\");

// RFC 2183 2 as nearly everybody writes it: a word, or a word and a file name in quotes or without
// need of any; what stands behind that name does not matter.  False, the outputs in any state,
// for all else.
bool readUsualDisposition(const PlainValue& value, StringBuffer& disposition,
                          StringBuffer& filename) {
    const char* const end = value.end();
    const char* p = skip(value.begin(), end, kTokenBytes);
    disposition.setStringN(value.begin(), static_cast<unsigned>(p - value.begin()));
    if (p == end) return true;
    if (*p != ';') return false;
    p = skip(p + 1, end, kBlanks);
    static constexpr std::string_view kName = "filename=";
    if (static_cast<size_t>(end - p) <= kName.size() ||
        !bytes::equalIgnoreCase(p, kName.data(), kName.size()))
        return false;
    p += kName.size();
    const bool isQuoted = *p == '"';
    const char* const name = isQuoted ? p + 1 : p;
    p = skip(name, end, isQuoted ? kQuotedBytes : kTokenBytes);
    filename.setStringN(name, static_cast<unsigned>(p - name));
    if (isQuoted && (p == end || *p++ != '"')) return false;
    return p == end || *p == ';';
}

}  // namespace

bool MimeMessage2::decodedField(const char* name, StringBuffer& out, LogBase& log) const {
    return decodedField(m_mimeHeader.indexOf(name, static_cast<unsigned>(std::strlen(name))), out,
                        log);
}

bool MimeMessage2::decodedField(int index, StringBuffer& out, LogBase& log) const {
    if (!m_mimeHeader.getFieldValueUtf8(index, out, log)) return false;
    out.qbDecode(log);
    return true;
}

// The trimmed value of a field up to its first ";".
void MimeMessage2::captureMainValue(int index, StringBuffer& out, LogBase& log) const {
    PlainValue plain;
    if (index >= 0 && m_mimeHeader.getPlainValue(index, plain)) {
        out.setStringN(plain.begin(), static_cast<unsigned>(plain.mainEnd() - plain.begin()));
        return;
    }
    out.clear();
    StringBuffer value;
    if (!decodedField(index, value, log)) return;
    value.trim2();
    const size_t size = std::strcspn(value.getString(), ";");
    if (size < value.getSize() / 2) {
        out.setStringN(value.getString(), static_cast<unsigned>(size));
        return;
    }
    value.shorten(value.getSize() - static_cast<unsigned>(size));
    out.swap(value);
}

// Only the first name that matches acts; other fields are not cached.
void MimeMessage2::recacheField(const StringBuffer& name, LogBase& log) {
    if (name.equalsIgnoreCase("content-type")) cacheContentType(log);
    else if (name.equalsIgnoreCase("content-disposition")) cacheDisposition(log);
    else if (name.equalsIgnoreCase("content-id")) cacheContentId(log);
    else if (name.equalsIgnoreCase("content-transfer-encoding")) cacheEncoding(log);
}

void MimeMessage2::cacheAll(LogBase& log) {
    if (isAlive()) cacheFields(m_mimeHeader.findMimeFields(), log);
}

// The order matters: cacheDisposition lower-cases the type that cacheContentType stored.
TypeTraits MimeMessage2::cacheFields(const MimeHeader::MimeFields& fields, LogBase& log) {
    LogNull silent;
    const TypeTraits traits = cacheContentTypeOf(fields.contentType, log);
    captureMainValue(fields.contentId, m_contentId, silent);
    cacheDispositionOf(fields.disposition, log);
    captureMainValue(fields.transferEncoding, m_contentTransferEncoding, log);
    return traits;
}

void MimeMessage2::cacheContentType(LogBase& log) {
    if (isAlive()) cacheContentTypeOf(m_mimeHeader.findMimeFields().contentType, log);
}

TypeTraits MimeMessage2::cacheContentTypeOf(int index, LogBase& log) {
    PlainValue plain;
    if (index >= 0 && m_mimeHeader.getPlainValue(index, plain)) {
        m_contentType.loadFromMimeHeaderValue(plain.begin(), plain.size(), m_charset, log);
        return traitsOf(plain.begin(), plain.size());
    }
    LogNull silent;
    StringBuffer value;
    m_mimeHeader.getFieldValueUtf8(index, value, silent);
    const TypeTraits traits = traitsOf(value.getString(), value.getSize());
    value.qbDecode(silent);
    m_contentType.loadFromMimeHeaderValue(value, m_charset, log);
    return traits;
}

void MimeMessage2::cacheContentId(LogBase&) {
    if (!isAlive()) return;
    LogNull silent;
    captureMainValue(m_mimeHeader.findMimeFields().contentId, m_contentId, silent);
}

void MimeMessage2::cacheEncoding(LogBase& log) {
    if (!isAlive()) return;
    captureMainValue(m_mimeHeader.findMimeFields().transferEncoding, m_contentTransferEncoding,
                     log);
}

void MimeMessage2::cacheDisposition(LogBase& log) {
    if (isAlive()) cacheDispositionOf(m_mimeHeader.findMimeFields().disposition, log);
}

void MimeMessage2::cacheDispositionOf(int index, LogBase& log) {
    m_disposition.clear();
    m_filename.clear();
    // Kept on purpose: reading the disposition lower-cases the content type, whether there is
    // a disposition or not; the tests on types elsewhere rely on it.
    m_contentType.m_type.toLowerCase();
    PlainValue plain;
    if (index >= 0 && m_mimeHeader.getPlainValue(index, plain) &&
        readUsualDisposition(plain, m_disposition, m_filename))
        return;
    m_disposition.clear();
    m_filename.clear();
    StringBuffer value;
    if (decodedField(index, value, log)) cacheDispositionParams(value, log);
}

namespace {

// Walks over a disposition as if it were a copy in which the quoted parts are replaced by the
// tokens of ParamString and all other blanks are dropped: a hostile one is too big for that.
class DispositionReader {
public:
    explicit DispositionReader(const StringBuffer& text)
        : m_text(text.getString()),
          m_at(m_text),
          m_end(m_text + std::strlen(m_text)),
          m_closing(m_text, m_end) {}

    bool atEnd() {
        while (m_at != m_end && bytes::isBlank(*m_at)) ++m_at;
        return m_at == m_end;
    }

    void skip(char c) {
        while (!atEnd() && *m_at == c) ++m_at;
    }

    // Moves to the next `stop` outside quotes, and appends the text up to it unless `out` is
    // null; of a name only as much as tells those that count.
    void capture(char stop, StringBuffer* out);
    void captureName(StringBuffer& name);

    // The same up to a ";"; a quoted part at the start is the whole value.
    void captureValue(StringBuffer& out);

    // Turns the text itself, the last that is done with it, into a value that is most of it.
    // False, nothing done, where the value is not, or has tokens in it or could be one.
    bool narrowToValue(StringBuffer& text);

private:
    void captureUnit(char stop, StringBuffer* out);  // a quoted part, or plain text
    const char* closePart();

    const char* m_text;
    const char* m_at;
    const char* const m_end;
    ClosingQuotes m_closing;
    int m_parts = 0;        // those in front of m_at
    ParamString m_byIndex;  // filled when a value refers to one
    bool m_isIndexed = false;
};

void DispositionReader::captureUnit(char stop, StringBuffer* out) {
    if (*m_at == '"') {
        if (out) appendPartToken(m_parts, *out);
        closePart();
        return;
    }
    const char* const begin = m_at;
    while (m_at != m_end && *m_at != stop && *m_at != '"' && !bytes::isBlank(*m_at)) ++m_at;
    if (out) out->appendN(begin, static_cast<unsigned>(m_at - begin));
}

// Steps over the quoted part at m_at; gives where its text ends.
const char* DispositionReader::closePart() {
    const char* const close = m_closing.find(m_at + 1);
    m_at = close == m_end ? close : close + 1;
    ++m_parts;
    return close;
}

void DispositionReader::capture(char stop, StringBuffer* out) {
    while (!atEnd() && *m_at != stop) captureUnit(stop, out);
}

void DispositionReader::captureName(StringBuffer& name) {
    constexpr unsigned kEnough = sizeof "filename*0*";
    while (!atEnd() && *m_at != '=' && name.getSize() < kEnough) captureUnit('=', &name);
    capture('=', nullptr);
}

void DispositionReader::captureValue(StringBuffer& out) {
    if (!atEnd() && *m_at == '"') {
        const char* const begin = m_at + 1;
        const char* const close = closePart();
        appendQuotedPart(begin, close, out);
        return capture(';', nullptr);
    }
    const unsigned before = out.getSize();
    capture(';', &out);
    const char* const value = out.getString() + before;
    if (zqStrNCmp(value, kPartToken, sizeof kPartToken - 1) != 0) return;
    const int index = zqIntValue(value + sizeof kPartToken - 1);
    if (!m_isIndexed) m_byIndex.setString(m_text, true);
    m_isIndexed = true;
    out.shorten(out.getSize() - before);
    out.append(m_byIndex.getParam(index));
}

bool DispositionReader::narrowToValue(StringBuffer& text) {
    if (atEnd() || *m_at == *kPartToken) return false;
    const bool isQuoted = *m_at == '"';
    const char* const begin = isQuoted ? m_at + 1 : m_at;
    const char* const stop = isQuoted ? m_closing.find(begin) : std::strpbrk(begin, "\";");
    const char* const end = stop ? stop : m_end;
    const auto size = static_cast<unsigned>(end - begin);
    if (size < 4096 || size < text.getSize() / 2) return false;
    if (!isQuoted && *end == '"') return false;
    char* to = text.getString_rw();
    for (const char* p = begin; p != end; ++p) {
        const bool isDropped =
            isQuoted ? *p == '\\' && p + 1 != end && p[1] == '"' : bytes::isBlank(*p);
        if (!isDropped) *to++ = *p;
    }
    text.shorten(text.getSize() - static_cast<unsigned>(to - text.getString()));
    return true;
}

}  // namespace

// Kept on purpose: blanks outside quotes go, so that an unquoted file name loses its blanks;
// a plain file name wins over an RFC 2231 one wherever it stands; and a value that looks like
// the token of a quoted part is that part.
void MimeMessage2::cacheDispositionParams(StringBuffer& field, LogBase& log) {
    StringBuffer name, starEncoded;
    {
        DispositionReader reader(field);
        for (reader.capture(';', &m_disposition); !reader.atEnd();) {
            reader.skip(';');
            name.weakClear();
            reader.captureName(name);
            reader.skip('=');
            if (name.equalsIgnoreCase("filename")) {
                if (reader.narrowToValue(field)) m_filename.swap(field);
                else reader.captureValue(m_filename);
                return;
            }
            if (name.equalsIgnoreCase("filename*0*")) starEncoded.weakClear();
            if (name.beginsWithIgnoreCase("filename*")) reader.captureValue(starEncoded);
            else reader.capture(';', nullptr);
        }
    }
    field.clear();
    if (starEncoded.isEmpty()) return;
    ContentCoding coding;
    StringBuffer charset;
    coding.decodeStarEncoded(starEncoded, nullptr, m_filename, charset, log);
}
