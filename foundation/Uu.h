// SPDX-License-Identifier: Apache-2.0
#pragma once

// Uudecoding ("begin" line, encoded lines, "end").  Text in front of the begin line and after
// the end line is skipped; a missing end is tolerated.

#include "foundation/export.h"

class DataBuffer;
class LogBase;
class StringBuffer;

class MIMETREE_API Uu {
public:
    // Append the bytes to `out`.  False when there is no begin line or memory is exhausted.
    bool uu_decode(const StringBuffer& text, DataBuffer& out, LogBase& log);
    bool uu_decode(const char* text, unsigned int size, DataBuffer& out, LogBase& log);
    bool uu_decode2(const char* text, bool reserved, DataBuffer& out, LogBase& log);

    // Appends the name on the begin line of the data that these decode, in the bytes that came.
    static bool uu_name(const char* text, unsigned int size, StringBuffer& name);
};
