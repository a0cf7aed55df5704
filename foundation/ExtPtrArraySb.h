// SPDX-License-Identifier: Apache-2.0
#pragma once

// An ordered array of strings that it owns.  Indices count from 0.

#include "foundation/ExtPtrArray.h"
#include "foundation/StringBuffer.h"
#include "foundation/export.h"

class MIMETREE_API ExtPtrArraySb {
public:
    // Slots, empty ones included.
    int getSize() const { return m_strings.getSize(); }

    // Null when the slot is empty or `i` out of range.
    StringBuffer* elementAt(int i) const {
        return static_cast<StringBuffer*>(m_strings.elementAt(i));
    }

    // The array takes ownership.  False when memory is exhausted: `s` stays the caller's.
    bool appendSb(StringBuffer* s) { return m_strings.appendPtr(s); }

    // Deletes every string and empties the array.
    void removeAllSbs() { m_strings.removeAllObjects(); }

private:
    ExtPtrArray m_strings;
};
