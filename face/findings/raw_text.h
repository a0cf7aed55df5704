// SPDX-License-Identifier: Apache-2.0
#pragma once

// The text of a message as it came in, seen as the engine sees it: where it rewrites line ends in
// a copy, they are taken for CRLF where they stand.

#include <string_view>
#include <vector>

#include "mime/parse/source_text.h"

namespace mimetree::inner::check {

// RFC 5322 2.1.1, RFC 2045 2.7 and 2.8: bytes in a line, its end not among them.
constexpr size_t kLongestLine = 998;

// What counts as CRLF besides CRLF, for a text and for all that is cut out of it.
struct LineEnds {
    bool lf = false;
    bool cr = false;
    bool crCrLf = false;

    bool isPlain() const { return !lf && !cr && !crCrLf; }
};

// The size of the line end at `p`; 0 when there is none.
size_t breakAt(const char* p, const char* end, LineEnds ends);

// Whether `p`, which lies in the text that begins at `begin`, stands at the start of a line.
bool isAtLineStart(const char* p, const char* begin);

// The line at `p` without its end, which any of CR, LF and CRLF is.
std::string_view lineAt(const char* p, const char* end);

std::string_view textOf(const char* begin, const char* end);
bool isUtf8(std::string_view text);
bool isBlankText(std::string_view text);
std::string_view trimmedText(std::string_view text);
bool isSameWord(std::string_view a, std::string_view b);  // ignores the case of letters

// An entity cut into header and body.
struct HeaderPlace {
    std::string_view mboxLine;
    std::string_view header;
    std::string_view body;
    bool hasBlankLine = false;
    LineEnds ends;  // those of the entity, and what its header end showed
};
HeaderPlace findHeader(SourceText& source, std::string_view entity, LineEnds ends);

// A header field where it stands.
struct Field {
    std::string_view whole;  // without the line end behind it
    std::string_view name;   // empty for a line that is no field
    std::string_view value;  // behind the colon, folds in it
};
std::vector<Field> fieldsOf(std::string_view header, LineEnds ends);

}  // namespace mimetree::inner::check
