// SPDX-License-Identifier: Apache-2.0
#pragma once

// A record for code that takes the layers of a secured message off (S/MIME, RFC 8551): a
// number, two verdicts, two counts, and the objects and names met on the way, all owned.  The
// engine only defines it; what the fields mean is up to the code that fills them.

#include "foundation/ExtPtrArray.h"
#include "foundation/ExtPtrArraySb.h"
#include "foundation/export.h"

class MIMETREE_API UnwrapInfo {
public:
    UnwrapInfo() = default;
    UnwrapInfo(const UnwrapInfo&) = delete;  // owns what its arrays hold
    UnwrapInfo& operator=(const UnwrapInfo&) = delete;
    virtual ~UnwrapInfo();

    // For the code that fills them; the arrays own what they hold.
    int m_number = 1;
    bool m_flag1 = true;
    bool m_flag2 = true;
    int m_count1 = 0;
    int m_count2 = 0;
    ExtPtrArray m_objects1;
    ExtPtrArraySb m_strings;
    ExtPtrArray m_objects2;
};
