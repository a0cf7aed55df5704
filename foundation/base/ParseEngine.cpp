// SPDX-License-Identifier: Apache-2.0

// The cursor with which the node takes header values apart.

#include "foundation/ParseEngine.h"

#include <algorithm>
#include <cstring>

void ParseEngine::setString(const char* text) {
    if (!m_text.setString(text)) m_text.clear();
    m_at = 0;
}

void ParseEngine::eliminateChar(char c) {
    char* begin = m_text.getString_rw();
    char* end = begin + m_text.getSize();
    m_text.shorten(static_cast<unsigned>(end - std::remove(begin, end, c)));
    m_at = 0;
}

void ParseEngine::captureToNextChar(char c, StringBuffer& out) {
    const char* begin = m_text.getString() + m_at;
    const void* hit = std::memchr(begin, c, m_text.getSize() - m_at);
    const unsigned n = hit ? static_cast<unsigned>(static_cast<const char*>(hit) - begin)
                           : m_text.getSize() - m_at;
    out.appendN(begin, n);
    m_at += n;
}

void ParseEngine::skipChars(const char* set) {
    if (!set) return;
    const char* text = m_text.getString();
    while (!atEnd() && std::strchr(set, text[m_at])) ++m_at;
}
