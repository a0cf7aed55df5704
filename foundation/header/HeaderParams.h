// SPDX-License-Identifier: Apache-2.0
#pragma once

// Reading and writing "value; name=value; ..." header values (RFC 2045 5.1, RFC 2231).

#include "foundation/StringBuffer.h"

namespace mimetree::inner {

// Where a value stands, without its quotes.
struct WrittenValue {
    unsigned int size() const { return static_cast<unsigned>(end - begin); }

    const char* begin = nullptr;
    const char* end = nullptr;
    bool isQuoted = false;
};

// A cursor over the parameters of a header value, in order, as they are written.
class HeaderParams {
public:
    // `value` must outlive the cursor.
    HeaderParams(const char* value, unsigned int size);

    // The text in front of the first ";", without blanks around it and comments behind it.
    // Where that ";" is missing it ends in front of "charset=" and the like.
    void getMainValue(StringBuffer& out) const;

    // Moves to the next parameter; false at the end.
    bool next();

    // The same, but the value is only copied when it is asked for, by copyValue.
    bool nextUncopied();
    bool copyValue();
    const WrittenValue& written() const { return m_written; }

    // The current parameter: its name as written (stars included), and its value without
    // quotes and comments.
    const StringBuffer& name() const { return m_name; }
    const StringBuffer& value() const { return m_value; }
    StringBuffer& value_rw() { return m_value; }  // its text may be swapped out
    bool wasQuoted() const { return m_written.isQuoted; }

    // Where the current parameter starts, with its name, and ends, in the value as given;
    // before the first, both are the end of the main value.
    const char* begin() const { return m_start; }
    const char* end() const { return m_at; }

private:
    const char* skipComments(const char* p);
    const char* skipComment(const char* p);
    bool readName();
    void findValue();
    void findUnquoted();
    void findQuoted();

    const char* m_begin;
    const char* m_start;
    const char* m_at;
    const char* m_end;
    bool m_hasComments = true;  // false once one was never closed
    WrittenValue m_written;
    StringBuffer m_name;
    StringBuffer m_value;
};

// Turns a text into the value that stands in it.
void narrowTo(const WrittenValue& value, StringBuffer& text);

// Replaces `out` by the value of the parameter `name` (any case), in UTF-8: a plain one if
// there is one, else the RFC 2231 form (name*, name*0, name*0* ...) joined and decoded.
// False, `out` unchanged, when there is none.
bool findHeaderParam(const char* value, unsigned int size, const char* name, StringBuffer& out);

// Replaces `out`, which may be `value`, by what the text of an RFC 2231 parameter says, in UTF-8.
// False, `out` unchanged, when memory is exhausted.
bool decodeExtended(const StringBuffer& value, StringBuffer& out);

// RFC 2046 5.1.1: a boundary stands on lines of the body, too, where nothing quotes it: what
// would end such a line, or a C string, becomes a blank.
void makeBoundarySafe(char* boundary, unsigned int size);

// Appends "; name=value" so that findHeaderParam gives the same value again: as a token, a
// quoted string, or RFC 2231 in UTF-8.  A CR or LF becomes a blank.
void appendHeaderParam(const char* name, const StringBuffer& value, StringBuffer& out);

}  // namespace mimetree::inner
