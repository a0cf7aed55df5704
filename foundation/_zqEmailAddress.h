// SPDX-License-Identifier: Apache-2.0
#pragma once

// One mailbox of an address field (RFC 5322 3.4).

#include "foundation/VantrelObject.h"
#include "foundation/XString.h"
#include "foundation/export.h"

class ExtPtrArray;
class LogBase;

class MIMETREE_API _zqEmailAddress : public VantrelObject {
public:
    XString m_displayName;  // without quotes; encoded words as written
    XString m_address;      // local@domain, without angle brackets

    // Appends one _zqEmailAddress, owned by `out`, for each mailbox of the list: names quoted
    // or bare, comments as names, groups flattened, routes dropped, separators missing or
    // doubled, and plain words without an "@" kept as addresses.  False when memory is
    // exhausted.
    static bool parseAndLoadList(const char* text, ExtPtrArray& out, int reserved, LogBase& log);
};
