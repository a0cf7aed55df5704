// SPDX-License-Identifier: Apache-2.0

// The 8-bit string: storage inside the object or on the heap, and the operations on it.

#include "foundation/StringBuffer.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <new>

#include "foundation/DataBuffer.h"
#include "foundation/EncodingConvert.h"
#include "foundation/LogNull.h"
#include "foundation/base/FileSave.h"
#include "foundation/bytes/MemoryWatch.h"
#include "foundation/bytes/bytes.h"
#include "foundation/bytes/line_ends.h"
#include "foundation/bytes/ranges.h"
#include "foundation/charset/code_pages.h"
#include "foundation/coding/EncodedWords.h"

using namespace mimetree::inner;

namespace {

// Length of a C string; a text of 4 GiB or more counts as too long to hold.
size_t lengthOf(const char* s) { return s ? std::strlen(s) : 0; }

}  // namespace

// -- Storage

StringBuffer::StringBuffer(const StringBuffer& other) : VantrelObject() {
    resetInline();
    setString(other);
}

StringBuffer::StringBuffer(StringBuffer&& other) noexcept : VantrelObject() {
    resetInline();
    swap(other);
}

StringBuffer& StringBuffer::operator=(const StringBuffer& other) {
    setString(other);
    return *this;
}

StringBuffer& StringBuffer::operator=(StringBuffer&& other) noexcept {
    if (this != &other) {
        clear();
        swap(other);
    }
    return *this;
}

bool StringBuffer::isValidObject() const {
    const char t = static_cast<const volatile char&>(m_inline[kInlineBytes - 1]);
    return (static_cast<unsigned char>(t) & ~(kHeap | kFailed)) == kAlive;
}

size_t StringBuffer::heapUsage() const { return onHeap() ? size_t(capacity()) + 1 : 0; }

unsigned int StringBuffer::capacity() const {
    if (!onHeap()) return kInlineSize;
    unsigned int n;
    std::memcpy(&n, m_inline, sizeof n);
    return n;
}

void StringBuffer::adoptHeap(char* block, unsigned int capacity) {
    std::memcpy(m_inline, &capacity, sizeof capacity);
    std::memcpy(m_inline + 4, &block, sizeof block);
    setTag(static_cast<unsigned char>(tag() | kHeap));
}

bool StringBuffer::refuse() {
    MemoryWatch::noteRefusal();
    setTag(static_cast<unsigned char>(tag() | kFailed));
    return false;
}

// Exact when this is the first storage (most strings never grow again), by half again later.
bool StringBuffer::grow(unsigned int needed) {
    const unsigned int now = capacity();
    if (needed <= now) return true;
    const unsigned int half = onHeap() && now < kMaxSize / 3 * 2 ? now + now / 2 : 0;
    return reserve(needed > half ? needed : half);
}

bool StringBuffer::reserve(unsigned int n) {
    if (n <= capacity()) return true;
    const size_t room = size_t(n < 31 ? 31 : n) + 1;
    char* block = static_cast<char*>(onHeap() ? std::realloc(heapData(), room) : std::malloc(room));
    if (!block) return refuse();
    if (!onHeap()) std::memcpy(block, m_inline, size_t(m_size) + 1);
    adoptHeap(block, static_cast<unsigned int>(room - 1));
    return true;
}

char* StringBuffer::extend(unsigned int n) {
    if (n > kMaxSize - m_size || !grow(m_size + n)) {
        refuse();
        return nullptr;
    }
    const unsigned int at = m_size;
    setSize(m_size + n);
    return getString_rw() + at;
}

void StringBuffer::swap(StringBuffer& other) noexcept {
    char bytes[kInlineBytes];
    std::memcpy(bytes, m_inline, kInlineBytes);
    std::memcpy(m_inline, other.m_inline, kInlineBytes);
    std::memcpy(other.m_inline, bytes, kInlineBytes);
    const unsigned int size = m_size;
    m_size = other.m_size;
    other.m_size = size;
}

StringBuffer* StringBuffer::createNewSB(const char* s) {
    StringBuffer* made = notingRefusal(new (std::nothrow) StringBuffer);
    if (made && !made->setString(s)) {
        delete made;
        made = nullptr;
    }
    return made;
}

// -- Replacing and appending

bool StringBuffer::setString(const char* s) {
    const size_t n = lengthOf(s);
    return n <= kMaxSize ? setStringN(s, static_cast<unsigned int>(n)) : refuse();
}

bool StringBuffer::setString(const StringBuffer& s) { return setStringN(s.getString(), s.m_size); }

// `s` may be a piece of this buffer, so the bytes are moved before anything is forgotten.
bool StringBuffer::setStringN(const char* s, unsigned int n) {
    if (!s) n = 0;
    if (n > capacity()) {
        StringBuffer fresh;
        if (!fresh.appendN(s, n)) return refuse();
        swap(fresh);
        return true;
    }
    if (n) std::memmove(getString_rw(), s, n);
    setTag(static_cast<unsigned char>(tag() & ~kFailed));
    setSize(n);
    return true;
}

bool StringBuffer::append(const char* s) {
    const size_t n = lengthOf(s);
    return n <= kMaxSize ? appendN(s, static_cast<unsigned int>(n)) : refuse();
}

bool StringBuffer::append(const StringBuffer& s) { return appendN(s.getString(), s.m_size); }

bool StringBuffer::append(const DataBuffer& d) {
    return appendN(reinterpret_cast<const char*>(d.getData2()), d.getSize());
}

bool StringBuffer::append(int n) {
    char digits[16];
    const char* const end = std::to_chars(digits, digits + sizeof digits, n).ptr;
    return appendN(digits, static_cast<unsigned>(end - digits));
}

// `s` may point into this buffer, which growing moves.
bool StringBuffer::appendN(const char* s, unsigned int n) {
    if (!s || n == 0) return true;
    const char* const old = getString();
    const bool isOwn = owns(s);
    const size_t offset = isOwn ? static_cast<size_t>(s - old) : 0;
    const unsigned int at = m_size;
    if (n > kMaxSize - at || !grow(at + n)) return refuse();
    char* data = getString_rw();
    std::memmove(data + at, isOwn ? data + offset : s, n);
    setSize(at + n);
    return true;
}

bool StringBuffer::append3(const char* a, const char* b, const char* c) {
    const char* const texts[] = {textOf(a), textOf(b), textOf(c)};
    const size_t sizes[] = {std::strlen(texts[0]), std::strlen(texts[1]), std::strlen(texts[2])};
    const size_t n = sizes[0] + sizes[1] + sizes[2];
    if (n > kMaxSize) return refuse();
    if (owns(a) || owns(b) || owns(c)) {
        StringBuffer joined;
        return joined.append3(a, b, c) ? append(joined) : refuse();
    }
    char* to = extend(static_cast<unsigned int>(n));
    for (int i = 0; to && i < 3; to += sizes[i++]) std::memcpy(to, texts[i], sizes[i]);
    return to != nullptr;
}

bool StringBuffer::appendChar(char c) {
    const unsigned int at = m_size;
    if (at == kMaxSize || !grow(at + 1)) return refuse();
    getString_rw()[at] = c;
    setSize(at + 1);
    return true;
}

bool StringBuffer::appendCharN(char c, unsigned int n) {
    char* at = extend(n);
    if (!at) return false;
    std::memset(at, c, n);
    return true;
}

bool StringBuffer::takeFromDb(DataBuffer& d) {
    unsigned int size = d.getSize(), room = 0;
    char* block = d.release(room);
    if (!block && size) return refuse();
    clear();
    if (!block) return true;
    adoptHeap(block, room);
    setSize(size);
    return true;
}

// -- Reading

bool StringBuffer::equals(const char* s) const {
    return lengthOf(s) == m_size && std::memcmp(getString(), textOf(s), m_size) == 0;
}

bool StringBuffer::equals(const StringBuffer& s) const {
    return s.m_size == m_size && std::memcmp(getString(), s.getString(), m_size) == 0;
}

bool StringBuffer::equalsIgnoreCase(const StringBuffer& s) const {
    return equalsIgnoreCase2(s.getString(), s.m_size);
}

bool StringBuffer::equalsIgnoreCase2(const char* s, unsigned int n) const {
    return (s ? n : 0) == m_size && bytes::equalIgnoreCase(getString(), textOf(s), m_size);
}

bool StringBuffer::beginsWith(const char* s) const {
    const size_t n = lengthOf(s);
    return n <= m_size && std::memcmp(getString(), textOf(s), n) == 0;
}

bool StringBuffer::beginsWithIgnoreCase(const char* s) const {
    const size_t n = lengthOf(s);
    return n <= m_size && bytes::equalIgnoreCase(getString(), textOf(s), n);
}

bool StringBuffer::endsWith(const char* s) const {
    const size_t n = lengthOf(s);
    return n <= m_size && std::memcmp(getString() + (m_size - n), textOf(s), n) == 0;
}

bool StringBuffer::containsSubstring(const char* s) const {
    return bytes::find(getString(), m_size, textOf(s), lengthOf(s)) != nullptr;
}

bool StringBuffer::containsSubstringNoCase(const char* s) const {
    return bytes::findIgnoreCase(getString(), m_size, textOf(s), lengthOf(s)) != nullptr;
}

bool StringBuffer::containsChar(char c) const {
    return std::memchr(getString(), c, m_size) != nullptr;
}

bool StringBuffer::is7bit(unsigned int n) const {
    return bytes::isAscii(getString(), n && n < m_size ? n : m_size);
}

// -- Editing in place

void StringBuffer::shorten(unsigned int n) { setSize(n < m_size ? m_size - n : 0); }

void StringBuffer::removeFront(unsigned int n) {
    if (n > m_size) n = m_size;
    char* data = getString_rw();
    std::memmove(data, data + n, m_size - n);
    setSize(m_size - n);
}

void StringBuffer::trim2() {
    const char* data = getString();
    unsigned int end = m_size, begin = 0;
    while (end > 0 && bytes::isSpace(data[end - 1])) --end;
    while (begin < end && bytes::isSpace(data[begin])) ++begin;
    if (end != m_size) setSize(end);
    if (begin) removeFront(begin);
}

void StringBuffer::toLowerCase() { bytes::makeLower(getString_rw(), m_size); }

namespace {

using line_ends::BareCr;

bool makeCrlf(StringBuffer& s, BareCr bareCr) {
    const size_t n = s.getSize();
    const size_t more = line_ends::countIncomplete(s.getString(), n, bareCr);
    if (more == 0) return true;
    StringBuffer fixed;
    char* const out =
        more <= kMaxSize - n ? fixed.extend(static_cast<unsigned>(n + more)) : nullptr;
    if (!out) return false;
    line_ends::complete(s.getString(), n, bareCr, out);
    s.swap(fixed);
    return true;
}

}  // namespace

bool StringBuffer::toCRLF() { return makeCrlf(*this, BareCr::Stays) || refuse(); }

bool StringBuffer::allToCRLF() { return makeCrlf(*this, BareCr::BecomesCrlf) || refuse(); }

bool StringBuffer::replaceAll(const char* from, unsigned fromSize, const char* to, unsigned toSize,
                              bool firstOnly) {
    if (fromSize == 0) return true;
    const char* at = getString();
    const char* const end = at + m_size;
    const char* hit = bytes::find(at, m_size, from, fromSize);
    if (!hit) return true;
    StringBuffer made;
    bool ok = made.reserve(m_size);
    for (; hit && ok; hit = firstOnly
                                ? nullptr
                                : bytes::find(at, static_cast<size_t>(end - at), from, fromSize)) {
        ok = made.appendN(at, static_cast<unsigned>(hit - at)) && made.appendN(to, toSize);
        at = hit + fromSize;
    }
    if (!ok || !made.appendN(at, static_cast<unsigned>(end - at))) return refuse();
    swap(made);
    return true;
}

bool StringBuffer::replaceAllOccurances(const char* from, const char* to) {
    return replaceAll(textOf(from), static_cast<unsigned>(lengthOf(from)), textOf(to),
                      static_cast<unsigned>(lengthOf(to)), false);
}

bool StringBuffer::replaceFirstOccurance(const char* from, const char* to, bool) {
    return replaceAll(textOf(from), static_cast<unsigned>(lengthOf(from)), textOf(to),
                      static_cast<unsigned>(lengthOf(to)), true);
}

bool StringBuffer::replaceAllWithUchar(const char* from, unsigned char c) {
    const char byte = static_cast<char>(c);
    return replaceAll(textOf(from), static_cast<unsigned>(lengthOf(from)), &byte, 1, false);
}

void StringBuffer::replaceCharAnsi(char from, char to) {
    char* data = getString_rw();
    for (unsigned int i = 0; i < m_size; ++i)
        if (data[i] == from) data[i] = to;
}

void StringBuffer::stripDirectory() {
    const char* data = getString();
    unsigned int begin = m_size;
    while (begin > 0 && data[begin - 1] != '/' && data[begin - 1] != '\\') --begin;
    const bool hasDrive = begin == 0 && m_size >= 2 && data[1] == ':' &&
                          bytes::lower(data[0]) >= 'a' && bytes::lower(data[0]) <= 'z';
    removeFront(hasDrive ? 2 : begin);
    if (equals(".") || equals("..")) setSize(0);
}

bool StringBuffer::convertEncoding(int fromCodePage, int toCodePage, LogBase& log) {
    DataBuffer converted;
    if (!EncodingConvert::EncConvert(fromCodePage, toCodePage,
                                     reinterpret_cast<const unsigned char*>(getString()), m_size,
                                     converted, log))
        return refuse();
    return takeFromDb(converted);
}

bool StringBuffer::cvUtf8ToAnsi() {
    LogNull log;
    return convertEncoding(codepage::kUtf8, codepage::kWindows1252, log);
}

bool StringBuffer::qbDecode(LogBase&) {
    static const char kWordStart[] = "=?";
    if (!bytes::find(getString(), m_size, kWordStart, 2)) return true;
    StringBuffer decoded;
    if (!decodeEncodedWords(getString(), m_size, decoded)) return refuse();
    swap(decoded);
    return true;
}

bool StringBuffer::saveToFileUtf8(const char* path, LogBase* log) const {
    return saveBytesToFile(path, getString(), m_size, log);
}
