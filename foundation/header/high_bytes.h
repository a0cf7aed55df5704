// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the bytes above 0x7F of a header line mean where the line as a whole is not UTF-8.

class StringBuffer;

namespace mimetree::inner {

enum class Trust {
    AsItStands,  // UTF-8
    Sure,        // can be written anew
    Doubtful,    // a reader may find out more from the bytes
};

struct HighBytes {
    int codePage;
    Trust trust;
};

// Judges a line.  `given` is what it is known to be in (0: nothing), `candidates` are tried in
// order otherwise (0: none).  False when memory is exhausted.
bool readHighBytes(const char* line, unsigned int size, int given, const int (&candidates)[2],
                   HighBytes& reading);

// Appends a value in UTF-8.  Such bytes within encoded words become escapes.  False when memory
// is exhausted.
bool appendHighBytes(const char* value, const char* end, int codePage, StringBuffer& out);

}  // namespace mimetree::inner
