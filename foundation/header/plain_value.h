// SPDX-License-Identifier: Apache-2.0
#pragma once

// The value of a header field where it means what it says: once its folds are joined it is a
// line without NULs and question marks, so that no encoded word can be in it.  Most values are,
// and are read from where they stand.

#include <cstddef>

namespace mimetree::inner {

class PlainValue {
public:
    // Of a value without blanks at its ends, whose line breaks are CRLF.  False for one that has
    // to be decoded, or is folded and long.
    bool set(const char* begin, const char* end);

    const char* begin() const { return m_begin; }
    const char* end() const { return m_end; }
    unsigned size() const { return static_cast<unsigned>(m_end - m_begin); }

    // Behind the text in front of the first ";".
    const char* mainEnd() const;

private:
    bool join();

    const char* m_begin = nullptr;
    const char* m_end = nullptr;
    char m_joined[512];
};

}  // namespace mimetree::inner
