// SPDX-License-Identifier: Apache-2.0
#pragma once

// Percent-encoding (RFC 3986 2.1).

#include "foundation/export.h"

class StringBuffer;

class MIMETREE_API _zqUrlEncode {
public:
    // Appends the bytes with all but the unreserved characters (letters, digits, "-", ".",
    // "_", "~") written as "%" and two upper-case hexadecimal digits; a blank is "%20".
    // False when memory is exhausted.
    static bool urlEncode3(const unsigned char* data, unsigned int size, StringBuffer& out);
};
