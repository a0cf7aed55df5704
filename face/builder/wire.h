// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the body of a leaf looks like on its way through the mail system (RFC 2045 2.7 to 2.9,
// 6.2), which decides on its transfer coding.

#include <string_view>

#include "mime/MimeMessage2.h"

namespace mimetree::inner {

// RFC 5322 2.1.1: what a line may hold, without its CRLF.
constexpr size_t kMaxLine = 998;

struct WireFacts {
    bool is7bit = true;
    bool hasNul = false;
    bool hasLongLine = false;   // more than kMaxLine bytes
    bool hasBareBreak = false;  // a CR or LF that is no CRLF

    bool fitsLines() const { return !hasNul && !hasLongLine; }
};

WireFacts factsOf(std::string_view text);

// The body as it is written, in its charset, but for the transfer coding.
DataBuffer wireBytes(MimeMessage2& leaf, LogBase& log);

// "quoted-printable" or "base64", whichever makes these wire bytes of the leaf shorter.
const char* shorterCoding(const MimeMessage2& leaf, const DataBuffer& bytes);

// RFC 2045 6.7 (4): line breaks stand as they are, which those of UTF-16 cannot.
bool mayBeQuoted(const MimeMessage2& leaf);

bool isEncoded(const MimeMessage2& part);  // in one of these two
bool is8bit(const MimeMessage2& part);     // labelled "8bit" or "binary"

}  // namespace mimetree::inner
