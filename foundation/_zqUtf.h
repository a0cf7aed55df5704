// SPDX-License-Identifier: Apache-2.0
#pragma once

// Checks on UTF-8 text.

#include "foundation/export.h"

class MIMETREE_API _zqUtf {
public:
    // True when the bytes are well-formed UTF-8 (RFC 3629: no overlong forms, surrogates or
    // values above U+10FFFF).  A `limit` other than 0 looks at that many leading bytes only;
    // a sequence that the limit cuts counts as valid.
    static bool isValidUtf8(const unsigned char* data, unsigned int size, unsigned int limit);
};
