// SPDX-License-Identifier: Apache-2.0
#pragma once

// A unicode string, read and written as UTF-8.

#include "foundation/StringBuffer.h"
#include "foundation/export.h"

class MIMETREE_API XString {
public:
    // The text with a NUL behind it; good until the string changes.
    const char* getUtf8() const { return m_utf8.getString(); }
    const StringBuffer& getUtf8Sb() const { return m_utf8; }
    StringBuffer& getUtf8Sb_rw() { return m_utf8; }  // changes made here change the string
    unsigned int getSizeUtf8() const { return m_utf8.getSize(); }  // in bytes
    // No bytes at all; none above 127.
    bool isEmpty() const { return m_utf8.isEmpty(); }
    bool is7bit() const { return m_utf8.is7bit(0); }

    // False, nothing changed, when memory is exhausted; null is the empty text.
    bool appendUtf8(const char* s) { return m_utf8.append(s); }
    bool setFromUtf8(const char* s) { return m_utf8.setString(s); }
    void clear() { m_utf8.clear(); }  // gives the storage back

private:
    StringBuffer m_utf8;
};
