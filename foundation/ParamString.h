// SPDX-License-Identifier: Apache-2.0
#pragma once

// Protects the quoted parts of a parameter list while the list is split: each is replaced by
// a token that holds no separator.

#include "foundation/DataBuffer.h"
#include "foundation/StringBuffer.h"
#include "foundation/export.h"

class MIMETREE_API ParamString {
public:
    // Takes `text` and puts "<[[" + index + "]]>" in place of each double-quoted part, the
    // first having index 0.  A quote that is never closed reaches to the end.
    void setString(const char* text, bool reserved);

    // The text with the tokens in place.
    const char* getString() const { return m_text.getString(); }

    // The quoted part with that index, without its quotes; empty when out of range.
    const char* getParam(int index) const;

private:
    bool holds(const char* p) const;

    StringBuffer m_text;
    StringBuffer m_parts;  // the quoted parts, a NUL behind each
    DataBuffer m_starts;   // where each begins there, as unsigned
};
