// SPDX-License-Identifier: Apache-2.0
#pragma once

// The values of header fields: what a strict reader takes, in the form in which the engine's
// writer encodes and folds it.  What such a reader would not take fails with the reason.

#include <chrono>
#include <string>
#include <string_view>

#include "foundation/DataBuffer.h"
#include "foundation/LogNull.h"
#include "foundation/StringBuffer.h"

namespace mimetree::inner {

inline LogNull silentLog;  // has no state

inline std::string_view viewOf(const StringBuffer& s) { return {s.getString(), s.getSize()}; }
inline std::string_view viewOf(const DataBuffer& d) {
    return {reinterpret_cast<const char*>(d.getData2()), d.getSize()};
}

bool isUtf8(std::string_view text);
// Without blanks at its ends.
std::string_view bare(std::string_view text);
StringBuffer bufferOf(std::string_view text);

// Fails unless `text` is UTF-8 without control characters other than tabs.
void checkLine(const std::string& what, std::string_view text);

// Bytes made such a line.  Tolerated: bytes that are not UTF-8, which count as ISO-8859-1.
std::string asLine(std::string_view bytes);

// Fails unless a field may have that name and is not one that goes with the body; `setter` is
// the function that was asked to set it.
void checkFieldName(const std::string& name, const char* setter);

// Fails for lines of a header as it is written that need 8 bits; `hint` tells what allows them.
enum class Bits { Seven, Eight };
void checkHeader(std::string_view text, Bits bits, const char* hint);
// RFC 5322 3.6: whether a message may have one field of that name only.
bool standsOnce(std::string_view name);
bool isSameName(std::string_view a, std::string_view b);

// The value of the field `name` as it is to be written; of fields with a grammar it is checked,
// and other text reads back as it is, whatever it looks like.
std::string fieldValue(const std::string& name, std::string_view value);

// Encoded words of so few bytes that each fits on a line with ' name="' in front of it.
std::string encodedWords(std::string_view text);

// RFC 5322 3.6.4: "<left@right>", out of an identifier with or without its brackets.
std::string messageId(std::string_view id);
// RFC 2392 2 asks for the same of a Content-ID.  Tolerated: one without a domain.
std::string contentId(std::string_view id);

// RFC 5322 3.3.
std::string dateOf(std::chrono::sys_seconds time, std::chrono::minutes zone);
std::string dateNow();

// Unique, of hexadecimal digits and a dot: it stands in URLs as it is (RFC 2392 2).
std::string token();
// The domain of a mailbox where it can stand in a msg-id (RFC 5322 3.6.4) and in a URL.
std::string hostOf(std::string_view mailbox);

}  // namespace mimetree::inner
