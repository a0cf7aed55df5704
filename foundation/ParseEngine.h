// SPDX-License-Identifier: Apache-2.0
#pragma once

// A cursor over a copy of a text.

#include "foundation/StringBuffer.h"
#include "foundation/export.h"

class MIMETREE_API ParseEngine {
public:
    void setString(const char* text);  // copies it; the cursor stands at its start
    void eliminateChar(char c);        // from the whole text; the cursor goes to the start

    // Appends the text from the cursor up to the next `c`, or to the end, and leaves the
    // cursor there.
    void captureToNextChar(char c, StringBuffer& out);

    void skipChars(const char* set);  // moves past any run of bytes from the set
    // Whether nothing of the text is left behind the cursor.
    bool atEnd() const { return m_at >= m_text.getSize(); }

private:
    StringBuffer m_text;
    unsigned int m_at = 0;
};
