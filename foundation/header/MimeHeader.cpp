// SPDX-License-Identifier: Apache-2.0

// The header field list: one text, and for each field where it stands in it.  Loading splits
// the text into fields and has the bytes above 0x7F judged by high_bytes.cpp, which converts
// them when a value is asked for; changing a field puts its new text at the end of the one text;
// writing takes the text as a whole when nothing was changed.  HeaderWriter folds and encodes
// the fields that were.

#include "foundation/MimeHeader.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <new>
#include <string_view>
#include <utility>

#include "foundation/LogBase.h"
#include "foundation/_zqCharset.h"
#include "foundation/_zqContentType.h"
#include "foundation/_zqUtf.h"
#include "foundation/bytes/ByteSet.h"
#include "foundation/bytes/GrowArray.h"
#include "foundation/bytes/bytes.h"
#include "foundation/bytes/ranges.h"
#include "foundation/charset/code_pages.h"
#include "foundation/header/HeaderParams.h"
#include "foundation/header/HeaderWriter.h"
#include "foundation/header/header_fields.h"
#include "foundation/header/header_scan.h"
#include "foundation/header/high_bytes.h"
#include "foundation/header/plain_value.h"

using namespace mimetree::inner;

namespace {

// Limit: a longer run of bytes before a colon is no name but a line of its own.
constexpr unsigned kMaxNameSize = 0xFFFF;

constexpr char kOrderMark[] = "\xEF\xBB\xBF";
constexpr unsigned kOrderMarkSize = 3;

const char* findByte(const char* p, const char* end, char c) {
    return p == end ? nullptr
                    : static_cast<const char*>(std::memchr(p, c, static_cast<size_t>(end - p)));
}

// RFC 5322 4.5: blanks between the name and its colon are obsolete but read.  Gives 0 where the
// `n` bytes at the start of a line are no name.
unsigned sizeOfName(const char* line, unsigned size, unsigned n) {
    unsigned colon = n;
    while (colon < size && bytes::isBlank(line[colon])) ++colon;
    return n <= kMaxNameSize && colon < size && line[colon] == ':' ? n : 0;
}

// What tells most names from those that MimeFields has places for.
bool mayBeMimeField(const char* name, unsigned size) {
    return size >= sizeof "Content-ID" - 1 && (*name | 0x20) == 'c';
}

bool isBreak(char c) { return c == '\r' || c == '\n'; }

// A header whose lines all end with CRLF, none of them empty, and the last with none at all,
// can be taken over as it is.
bool isTidy(const char* text, unsigned size) {
    const char* const end = text + size;
    if (size && (isBreak(text[0]) || isBreak(end[-1]))) return false;
    for (const char* p = text; (p = findByte(p, end, '\n')) != nullptr; ++p) {
        if (p[-1] != '\r') return false;
        if (p - text >= 2 && isBreak(p[-2])) return false;
    }
    return true;
}

// Tolerated: lines that end with LF, CRCRLF or, the last, with CR.  An empty line would end
// the header when it is written, and holds nothing: it is dropped.
template <class Take>
void eachTidyLine(const char* text, unsigned size, const Take& take) {
    const char* const end = text + size;
    for (const char* line = text; line != end;) {
        const char* lf = findByte(line, end, '\n');
        const char* stop = lf ? lf : end;
        while (stop != line && stop[-1] == '\r') --stop;
        if (stop != line) take(line, static_cast<unsigned>(stop - line));
        line = lf ? lf + 1 : end;
    }
}

// RFC 5322 3.6.8, and what no name may hold when a caller gives it: nothing in a name can
// end it, or the line.
bool cleanName(const char* name, StringBuffer& out) {
    for (const char* p = name ? name : ""; *p; ++p)
        if (kFieldNameBytes.has(*p)) out.appendChar(*p);
    if (out.failed() || out.getSize() > kMaxNameSize) out.clear();
    return !out.isEmpty();
}

// RFC 5322 2.2.3: unfolding takes the CRLF away and leaves the blank.  Any other line break
// becomes a blank, so that a value is one line.
void appendUnfolded(const char* p, const char* end, StringBuffer& out) {
    while (p != end) {
        const char* stop = p;
        while (stop != end && !isBreak(*stop)) ++stop;
        out.appendN(p, static_cast<unsigned>(stop - p));
        p = stop;
        while (p != end && isBreak(*p)) ++p;
        if (p != stop && p != end && !bytes::isBlank(*p)) out.appendChar(' ');
    }
}

}  // namespace

// -- Text and fields

template <class T>
void MimeHeader::Store<T>::lend(T* block, unsigned n) {
    clear();
    m_block = block;
    m_size = n;
}

template <class T>
void MimeHeader::Store<T>::adopt(T* block, unsigned n) {
    lend(block, n);
    m_capacity = n;
}

template <class T>
void MimeHeader::Store<T>::swap(Store& other) noexcept {
    std::swap(m_block, other.m_block);
    std::swap(m_size, other.m_size);
    std::swap(m_capacity, other.m_capacity);
}

template <class T>
bool MimeHeader::Store<T>::reserve(unsigned n) {
    if (n <= m_capacity) return true;
    void* const old = m_capacity ? m_block : nullptr;
    const bool isTooMuch = n > 0xFFFFFFFFu / sizeof(T);
    void* const block =
        notingRefusal(isTooMuch ? nullptr : std::realloc(old, size_t(n) * sizeof(T)));
    if (!block) return false;
    if (!old && m_size) std::memcpy(block, m_block, size_t(m_size) * sizeof(T));
    m_block = static_cast<T*>(block);
    m_capacity = n;
    return true;
}

// Exact the first time, since most headers are made once; by half again later.
template <class T>
bool MimeHeader::Store<T>::append(const T* from, unsigned n) {
    if (n == 0) return true;
    const unsigned spare = 0xFFFFFFFFu - m_size;
    if (n > spare) {
        MemoryWatch::noteRefusal();
        return false;
    }
    const unsigned more = std::max(n, std::min(m_capacity / 2, spare));
    if (m_size + n > m_capacity && !reserve(m_size + more)) return false;
    std::memcpy(m_block + m_size, from, size_t(n) * sizeof(T));
    m_size += n;
    return true;
}

template <class T>
bool MimeHeader::Store<T>::push(const T& value) {
    if (m_size >= m_capacity && !reserve(m_size < 8 ? 8 : m_size * 2)) return false;
    m_block[m_size++] = value;
    return true;
}

// -- Loading

void MimeHeader::clear(int) {
    m_text.clear();
    m_fields.clear();
    m_waste = 0;
    m_detectedCP = 0;
    m_asRead = true;
    m_hasOrderMark = false;
}

bool MimeHeader::loadMimeHeaderText(const char* headerText, const char* terminator, int codePage,
                                    StringBuffer& charsetClue, LogBase& log) {
    const char* text = headerText ? headerText : "";
    const char* end = terminator ? std::strstr(text, terminator) : nullptr;
    const unsigned size = end ? static_cast<unsigned>(end - text) : sizeOf(text);
    return loadMimeHeaderBytes(text, size, codePage, charsetClue, log);
}

bool MimeHeader::loadMimeHeaderBytes(const char* headerText, unsigned int size, int codePage,
                                     const StringBuffer& charsetClue, LogBase& log) {
    clear(0);
    if (!headerText) size = 0;
    m_hasOrderMark = size >= kOrderMarkSize && std::memcmp(headerText, kOrderMark, 3) == 0;
    if (m_hasOrderMark) {
        headerText += kOrderMarkSize;
        size -= kOrderMarkSize;
    }
    const bool isCopied =
        isTidy(headerText, size) ? m_text.append(headerText, size) : tidy(headerText, size);
    if (isCopied && splitFields() &&
        (bytes::isAscii(m_text.data(), m_text.size()) || findCodePages(codePage, charsetClue, log)))
        return true;
    clear(0);
    return false;
}

bool MimeHeader::tidy(const char* text, unsigned int size) {
    size_t room = 0;
    eachTidyLine(text, size, [&](const char*, unsigned n) { room += (room ? 2 : 0) + size_t{n}; });
    if (room > 0xFFFFFFFFu) {
        MemoryWatch::noteRefusal();
        return false;
    }
    if (!m_text.reserve(static_cast<unsigned>(room))) return false;
    eachTidyLine(text, size, [&](const char* line, unsigned n) {
        if (m_text.size()) m_text.append("\r\n", 2);
        m_text.append(line, n);
    });
    return true;
}

// The fields stand behind the text.
static size_t placeOfFields(unsigned textSize) { return (size_t{textSize} + 7) & ~size_t{7}; }

size_t MimeHeader::roomFor(const HeaderScan& scan) {
    return placeOfFields(scan.size) + (scan.isListed ? scan.fields.size() : 0) * sizeof(Field);
}

bool MimeHeader::loadScanned(const char* headerText, const HeaderScan& scan, void* room,
                             int codePage, const StringBuffer& charsetClue, MimeFields& mime,
                             LogBase& log) {
    clear(0);
    char* const text = static_cast<char*>(room ? room : notingRefusal(std::malloc(roomFor(scan))));
    if (!text) return false;
    if (room) m_text.lend(text, scan.size);
    else m_text.adopt(text, scan.size);
    std::memcpy(text, headerText, scan.size);
    if (scan.isListed) takeListed(headerText, scan, mime);
    const bool isSplit = scan.isListed || splitFields();
    if (!scan.isListed) mime = findMimeFields();
    if (isSplit && (!scan.hasHighBytes || findCodePages(codePage, charsetClue, log))) return true;
    clear(0);
    return false;
}

void MimeHeader::takeListed(const char* text, const HeaderScan& scan, MimeFields& mime) {
    const unsigned count = scan.fields.size();
    Field* const fields = reinterpret_cast<Field*>(m_text.data() + placeOfFields(scan.size));
    const FieldPlace* const places = scan.fields.data();
    for (unsigned i = 0; i < count; ++i) {
        const auto [start, nameEnd] = places[i];
        const unsigned end = i + 1 < count ? places[i + 1].start - 2 : scan.size;
        const char* const line = text + start;
        const bool isPlain = text[nameEnd] == ':' && nameEnd - start <= kMaxNameSize;
        const unsigned n =
            isPlain ? nameEnd - start : sizeOfName(line, end - start, nameEnd - start);
        if (mayBeMimeField(line, n)) mime.note(line, n, static_cast<int>(i));
        new (fields + i) Field(fieldWithName(start, end - start, n));
    }
    m_fields.lend(fields, count);
}

// Lines that begin with a blank belong to the field before them.
bool MimeHeader::splitFields() {
    const char* const text = m_text.data();
    const char* const end = text + m_text.size();
    unsigned lines = 0;
    for (const char* p = text; (p = findByte(p, end, '\n')) != nullptr; ++p)
        lines += p + 1 != end && !bytes::isBlank(p[1]);
    if (!m_fields.reserve(text == end ? 0 : lines + 1)) return false;
    for (const char* start = text; start != end;) {
        const char* stop = start;
        do {
            stop = findByte(stop, end, '\n');
            stop = stop ? stop + 1 : end;
        } while (stop != end && bytes::isBlank(*stop));
        const char* const last = stop == end ? end : stop - 2;
        if (!m_fields.push(fieldOfLine(static_cast<unsigned>(start - text),
                                       static_cast<unsigned>(last - start))))
            return false;
        start = stop;
    }
    return true;
}

unsigned mimetree::inner::fieldNameSize(const char* line, unsigned size) {
    unsigned n = 0;
    while (n < size && kFieldNameBytes.has(line[n])) ++n;
    return sizeOfName(line, size, n);
}

MimeHeader::Field MimeHeader::fieldOfLine(unsigned int start, unsigned int size) const {
    return fieldWithName(start, size, fieldNameSize(m_text.data() + start, size));
}

MimeHeader::Field MimeHeader::fieldWithName(unsigned int start, unsigned int size,
                                            unsigned int nameSize) {
    return Field{start, size, static_cast<unsigned short>(nameSize), 0, true};
}

// Each field is judged by itself: mail that passed several hands mixes charsets.  It stays as
// it is; what its bytes mean is noted for whoever asks for the value.
bool MimeHeader::findCodePages(int codePage, const StringBuffer& charsetClue, LogBase& log) {
    const int clue = _zqCharset::codePageOf(charsetClue.getString(), charsetClue.getSize());
    const int candidates[] = {codePage ? 0 : declaredCodePage(log), codePage ? 0 : clue};
    for (Field& field : m_fields) {
        const char* line = m_text.data() + field.start;
        if (bytes::isAscii(line, field.size)) continue;
        HighBytes reading{codepage::kUtf8, Trust::AsItStands};
        if (!_zqUtf::isValidUtf8(reinterpret_cast<const unsigned char*>(line), field.size, 0) &&
            !readHighBytes(line, field.size, codePage, candidates, reading))
            return false;
        const bool isUtf8 = reading.trust == Trust::AsItStands;
        field.codePage = isUtf8 ? 0 : static_cast<unsigned short>(reading.codePage);
        field.isRaw = reading.trust != Trust::Sure || field.nameSize == 0;
        if (!field.isRaw) m_asRead = false;
        if (m_detectedCP == 0 || reading.codePage != codepage::kUtf8)
            m_detectedCP = reading.codePage;
    }
    return true;
}

int MimeHeader::declaredCodePage(LogBase& log) const {
    StringBuffer value;
    _zqCharset charset;
    _zqContentType type;
    if (getMimeFieldUtf8("Content-Type", value, log))
        type.loadFromMimeHeaderValue(value, charset, log);
    return charset.getCodePage();
}

bool MimeHeader::copyMimeHeaderFrom(const MimeHeader& other, LogBase&) {
    if (this == &other) return true;
    clear(0);
    if (!m_text.append(other.m_text.data(), other.m_text.size()) ||
        !m_fields.append(other.m_fields.data(), other.m_fields.size())) {
        clear(0);
        return false;
    }
    m_waste = other.m_waste;
    m_detectedCP = other.m_detectedCP;
    m_asRead = other.m_asRead;
    m_hasOrderMark = other.m_hasOrderMark;
    return true;
}

// -- Writing

bool MimeHeader::getMimeHeader(StringBuffer& out, const char*, int codePage, bool, LogBase&) const {
    const unsigned before = out.getSize();
    appendHeader(codePage, out);
    if (!out.failed()) return true;
    out.shorten(out.getSize() - before);
    return false;
}

void MimeHeader::appendHeader(int codePage, StringBuffer& out) const {
    if (m_hasOrderMark) out.appendN(kOrderMark, kOrderMarkSize);
    if (m_asRead) {
        out.appendN(m_text.data(), m_text.size());
        return;
    }
    bool isFirst = true;
    for (const Field& field : m_fields) {
        if (!isFirst) out.appendN("\r\n", 2);
        isFirst = false;
        const char* line = m_text.data() + field.start;
        if (field.isRaw || field.nameSize == 0) {
            out.appendN(line, field.size);
            continue;
        }
        StringBuffer value;
        if (!appendValue(field, value)) out.markFailed();
        appendHeaderField(line, field.nameSize, value.getString(), value.getSize(), codePage, out);
    }
}

// -- Changing

bool MimeHeader::makeField(const StringBuffer& name, const char* value, Field& field) {
    const char* end = value + sizeOf(value);
    value = skipSpace(value, end);
    while (end != value && bytes::isSpace(end[-1])) --end;
    StringBuffer text(name);
    text.appendN(": ", 2);
    appendUnfolded(value, end, text);
    const unsigned start = m_text.size();
    if (text.failed() || !m_fields.own()) return false;
    // A node that changes a field or two pays for their text only; long lists grow by half.
    constexpr unsigned kShortList = 64;
    if (m_fields.size() < kShortList && text.getSize() < kMaxNameSize)
        m_text.reserve(start + text.getSize());
    if (!m_text.append(text.getString(), text.getSize())) return false;
    field = fieldOfLine(start, text.getSize());
    field.isRaw = false;
    m_asRead = false;
    return true;
}

bool MimeHeader::appendField(const StringBuffer& name, const char* value) {
    Field field;
    if (!makeField(name, value, field)) return false;
    if (m_fields.push(field)) return true;
    m_text.truncate(m_text.size() - field.size);
    return false;
}

bool MimeHeader::addMimeField(const char* name, const char* value, bool, LogBase& log) {
    const char* p = value ? value : "";
    while (bytes::isSpace(*p)) ++p;
    return *p == '\0' || addMimeFieldAllowEmpty(name, p, log);
}

bool MimeHeader::addMimeFieldAllowEmpty(const char* name, const char* value, LogBase& log) {
    StringBuffer clean;
    if (cleanName(name, clean)) return appendField(clean, value ? value : "");
    log.logError("Not a header field name.");
    return false;
}

bool MimeHeader::replaceMimeFieldUtf8(const char* name, const char* value, LogBase& log) {
    StringBuffer clean;
    if (!cleanName(name, clean)) {
        log.logError("Not a header field name.");
        return false;
    }
    if (!value) {
        removeMimeField(clean.getString(), true);
        return true;
    }
    const int index = indexOf(clean.getString(), clean.getSize());
    if (index < 0) return appendField(clean, value);
    Field made;
    if (!makeField(clean, value, made)) return false;
    Field& field = m_fields[static_cast<unsigned>(index)];
    m_waste += field.size;
    field = made;
    dropWaste();
    return true;
}

void MimeHeader::removeMimeField(const char* name, bool all) {
    const unsigned size = sizeOf(name);
    unsigned kept = 0, removed = 0;
    for (const Field& field : m_fields) {
        if ((all || removed == 0) && hasName(field, name, size)) {
            m_waste += field.size;
            ++removed;
        } else {
            m_fields[kept++] = field;
        }
    }
    m_fields.truncate(kept);
    if (removed) m_asRead = false;
    dropWaste();
}

void MimeHeader::moveToBottom(const char* name, LogBase&) {
    const unsigned size = sizeOf(name);
    GrowArray<Field, 8> moved;
    for (const Field& field : m_fields)
        if (hasName(field, name, size) && !moved.push(field)) return;
    unsigned kept = 0;
    for (const Field& field : m_fields)
        if (!hasName(field, name, size)) m_fields[kept++] = field;
    for (const Field& field : moved) m_fields[kept++] = field;
    if (!moved.isEmpty()) m_asRead = false;
}

void MimeHeader::collapseMultiple(const char* name, LogBase&) {
    const unsigned size = sizeOf(name);
    const int first = indexOf(name, size);
    unsigned kept = 0;
    for (unsigned i = 0; i < m_fields.size(); ++i) {
        if (static_cast<int>(i) > first && hasName(m_fields[i], name, size)) {
            m_waste += m_fields[i].size;
            m_asRead = false;
        } else {
            m_fields[kept++] = m_fields[i];
        }
    }
    m_fields.truncate(kept);
    dropWaste();
}

void MimeHeader::removeHeaderFieldsAfterSig(LogBase&) {
    int last = -1;
    for (const char* name : {"DKIM-Signature", "DomainKey-Signature"}) {
        for (int i = getNumFields() - 1; i >= 0 && last < 0; --i)
            if (hasName(m_fields[static_cast<unsigned>(i)], name, sizeOf(name))) last = i;
    }
    if (last < 0) return;
    const unsigned kept = static_cast<unsigned>(last) + 1;
    if (kept < m_fields.size()) m_asRead = false;
    for (unsigned i = kept; i < m_fields.size(); ++i) m_waste += m_fields[i].size;
    m_fields.truncate(kept);
    dropWaste();
}

// Fields that are set again and again would pile their old texts up.
void MimeHeader::dropWaste() {
    constexpr unsigned kTolerated = 4096;
    if (m_waste > kTolerated && m_waste > m_text.size() / 2) compact();
}

// Without memory for the compact text the present one stays, which does as well.
void MimeHeader::compact() {
    Store<char> kept;
    if (!m_fields.own() || !kept.reserve(m_text.size() - m_waste)) return;
    for (Field& field : m_fields) {
        const unsigned start = kept.size();
        kept.append(m_text.data() + field.start, field.size);
        field.start = start;
    }
    m_text.swap(kept);
    m_waste = 0;
}

// -- Reading

bool MimeHeader::hasName(const Field& field, const char* name, unsigned int nameSize) const {
    return field.nameSize == nameSize && nameSize > 0 &&
           bytes::equalIgnoreCase(m_text.data() + field.start, name, nameSize);
}

int MimeHeader::indexOf(const char* name, unsigned int nameSize) const {
    for (unsigned i = 0; i < m_fields.size(); ++i)
        if (hasName(m_fields[i], name, nameSize)) return static_cast<int>(i);
    return -1;
}

void MimeHeader::MimeFields::note(const char* name, unsigned int nameSize, int index) {
    struct Row {
        std::string_view name;
        int MimeFields::*place;
    };
    static constexpr Row kRows[] = {{"Content-Type", &MimeFields::contentType},
                                    {"Content-ID", &MimeFields::contentId},
                                    {"Content-Disposition", &MimeFields::disposition},
                                    {"Content-Transfer-Encoding", &MimeFields::transferEncoding}};
    for (const Row& row : kRows)
        if (row.name.size() == nameSize && this->*row.place < 0 &&
            bytes::equalIgnoreCase(name, row.name.data(), nameSize))
            this->*row.place = index;
}

// All four in one pass.
MimeHeader::MimeFields MimeHeader::findMimeFields() const {
    MimeFields found;
    for (unsigned i = 0; i < m_fields.size(); ++i) {
        const char* const name = m_text.data() + m_fields[i].start;
        const unsigned nameSize = m_fields[i].nameSize;
        if (mayBeMimeField(name, nameSize)) found.note(name, nameSize, static_cast<int>(i));
    }
    return found;
}

// Without the blanks at both ends; a line that is no field is value whole.
void MimeHeader::findValue(const Field& field, const char*& begin, const char*& end) const {
    begin = m_text.data() + field.start;
    end = begin + field.size;
    if (field.nameSize) {
        begin += field.nameSize;
        while (*begin++ != ':') {  // blanks
        }
    }
    while (begin != end && bytes::isSpace(*begin)) ++begin;
    while (end != begin && bytes::isSpace(end[-1])) --end;
}

bool MimeHeader::getPlainValue(int index, PlainValue& value) const {
    const Field& field = m_fields[static_cast<unsigned>(index)];
    const char *p, *end;
    findValue(field, p, end);
    return field.codePage == 0 && value.set(p, end);
}

bool MimeHeader::appendValue(const Field& field, StringBuffer& out) const {
    const char *p, *end;
    findValue(field, p, end);
    if (field.codePage == 0) {
        appendUnfolded(p, end, out);
        return !out.failed();
    }
    StringBuffer unfolded, utf8;
    if (findByte(p, end, '\n')) {
        appendUnfolded(p, end, unfolded);
        p = unfolded.getString();
        end = p + unfolded.getSize();
    }
    if (unfolded.failed() || !appendHighBytes(p, end, field.codePage, utf8)) return false;
    if (!out.isEmpty()) return out.append(utf8);
    out.swap(utf8);
    return true;
}

bool MimeHeader::getMimeFieldUtf8(const char* name, StringBuffer& out, LogBase& log) const {
    return getMimeFieldUtf8_2(name, sizeOf(name), out, log);
}

bool MimeHeader::getMimeFieldUtf8_2(const char* name, unsigned int nameSize, StringBuffer& out,
                                    LogBase& log) const {
    return getFieldValueUtf8(indexOf(name, name ? nameSize : 0), out, log);
}

bool MimeHeader::getSubFieldUtf8(const char* fieldName, const char* param, StringBuffer& out,
                                 LogBase& log) const {
    StringBuffer value, found;
    if (!getMimeFieldUtf8(fieldName, value, log) ||
        !findHeaderParam(value.getString(), value.getSize(), param ? param : "", found))
        return false;
    return out.append(found);
}

bool MimeHeader::getFieldNameUtf8(int index, StringBuffer& out, LogBase&) const {
    if (index < 0 || index >= getNumFields()) return false;
    const Field& field = m_fields[static_cast<unsigned>(index)];
    return out.appendN(m_text.data() + field.start, field.nameSize);
}

bool MimeHeader::getFieldValueUtf8(int index, StringBuffer& out, LogBase&) const {
    if (index < 0 || index >= getNumFields()) return false;
    const unsigned before = out.getSize();
    if (appendValue(m_fields[static_cast<unsigned>(index)], out)) return true;
    out.shorten(out.getSize() - before);
    return false;
}

bool MimeHeader::getFieldText(int index, StringBuffer& out) const {
    if (index < 0 || index >= getNumFields()) return false;
    const Field& field = m_fields[static_cast<unsigned>(index)];
    return out.appendN(m_text.data() + field.start, field.size);
}
