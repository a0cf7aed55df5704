// SPDX-License-Identifier: Apache-2.0

// Values of header fields that need no decoding: MimeHeader gives the node those of the fields
// that it keeps properties of.

#include "foundation/header/plain_value.h"

#include <cstring>

#include "foundation/bytes/bytes.h"

namespace mimetree::inner {

namespace {

const char* findOdd(const char* p, const char* end) {
    return p + bytes::plainRun(p, static_cast<size_t>(end - p));
}

}  // namespace

bool PlainValue::set(const char* begin, const char* end) {
    m_begin = begin;
    m_end = end;
    const char* const odd = findOdd(begin, end);
    return odd == end || (*odd == '\r' && join());
}

// RFC 5322 2.2.3: unfolding takes the CRLF away and leaves the blank.
bool PlainValue::join() {
    if (size() > sizeof m_joined) return false;
    char* out = m_joined;
    for (const char* p = m_begin; p != m_end;) {
        const char* const stop = findOdd(p, m_end);
        std::memcpy(out, p, static_cast<size_t>(stop - p));
        out += stop - p;
        if (stop == m_end) break;
        if (m_end - stop < 2 || stop[0] != '\r' || stop[1] != '\n') return false;
        p = stop + 2;
    }
    m_begin = m_joined;
    m_end = out;
    return true;
}

const char* PlainValue::mainEnd() const {
    const void* const semicolon = size() ? std::memchr(m_begin, ';', size()) : nullptr;
    return semicolon ? static_cast<const char*>(semicolon) : m_end;
}

}  // namespace mimetree::inner
