// SPDX-License-Identifier: Apache-2.0
#pragma once

// A charset: its name and its code page, always in step.  A new record holds no charset:
// empty name, code page 0.

#include "foundation/StringBuffer.h"
#include "foundation/export.h"

class MIMETREE_API _zqCharset {
public:
    // Takes a name or alias in any letter case, blanks around it ignored, and keeps it as it
    // was spelt (WHATWG Encoding Standard labels, IANA names, usual mail aliases).  False
    // for a name that is not known; the record is then unchanged.  Four labels of that
    // standard are not known, since it does not decode them either: "iso-2022-cn",
    // "iso-2022-cn-ext", "replacement" and "x-user-defined".
    bool setByName(const char* name);
    bool setByName(const char* name, unsigned int length);

    // Takes the canonical (IANA preferred MIME) name.  A code page that is not known keeps
    // its number with the name "cp" + number; 0 clears.
    void setByCodePage(int codePage);

    // "" and 0 where no charset is set.
    const char* getName() const { return m_name.getString(); }
    int getCodePage() const { return m_codePage; }
    // RFC 2781 4.3: true for a name like "utf-16" that leaves the byte order to a mark.
    bool needsByteOrderMark() const;

    // Becomes the same as another, or none.
    void copy(const _zqCharset& other) { *this = other; }
    void clear();
    bool holds(const char* p) const { return m_name.owns(p); }  // a pointer into the name

    // The code page of a name as for setByName; 0 when it is not known.
    static int codePageOf(const char* name, unsigned int length);

    // The canonical name of a code page; null when it is not known.
    static const char* nameOf(int codePage);

private:
    StringBuffer m_name;
    int m_codePage = 0;
};
