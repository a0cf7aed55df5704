// SPDX-License-Identifier: Apache-2.0
#pragma once

// Services of the process as a whole.

#include "foundation/export.h"

class LogBase;
class StringBuffer;

class MIMETREE_API Psdk {
public:
    // Replaces `out` by a MIME boundary (RFC 2046 5.1.1) that no other call, thread or
    // process makes, and that can occur neither in base64 nor in quoted-printable text.  A
    // "=" in it makes it no token: as a parameter it stands in quotes.  False, `out` empty,
    // when memory is exhausted.
    static bool generateBoundary(StringBuffer& out, LogBase& log);

    // Told when an object is used whose validity marker is wrong; `where` may be null.  The
    // count is for debuggers and tests.
    static void corruptObjectFound(const char* where);
    static unsigned int numCorruptObjects();
};
