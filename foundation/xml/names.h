// SPDX-License-Identifier: Apache-2.0
#pragma once

// Names of XML 1.0: what is one, and whether one occurred before.  How arbitrary bytes are
// spelled as a name stands in ClsXml.h, whose two functions for it are defined here too.

#include <cstddef>

#include "foundation/bytes/GrowArray.h"

class StringBuffer;

namespace mimetree::inner {

namespace xml {

// XML 1.0 2.3: length of the name at the start of p[0, n); 0 when there is none.
size_t nameRun(const char* p, size_t n);

// Appends "_xHH_".
void appendSpelledByte(char byte, StringBuffer& out);

}  // namespace xml

// A piece of a text that may move: where it begins and its length.
struct XmlSlice {
    unsigned at;
    unsigned size;
};

// The attribute names of one element, as pieces of a text that every call is given.  The
// time for n names is that of sorting them, whatever they are.
class XmlNameSet {
public:
    void clear() { m_names.truncate(0); }
    bool has(const char* text, XmlSlice name) const;

    // `name` is not in the set.  False when memory is exhausted.
    bool insert(const char* text, XmlSlice name);

private:
    GrowArray<XmlSlice> m_names;
};

}  // namespace mimetree::inner
