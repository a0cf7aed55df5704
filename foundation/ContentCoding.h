// SPDX-License-Identifier: Apache-2.0
#pragma once

// The transfer codings of RFC 2045 6 (base64, quoted-printable) and the header codings of
// RFC 2047 and RFC 2231.  Every coder appends to its output and answers false only when
// memory is exhausted; what is malformed is decoded as far as it goes.

#include "foundation/export.h"

class DataBuffer;
class LogBase;
class StringBuffer;

class MIMETREE_API ContentCoding {
public:
    // Base64 in lines of 76 characters with CRLF between them (RFC 2045 6.8); no line break
    // at the end.
    bool encodeBase64(const void* data, unsigned int size, StringBuffer& out) const;
    bool encodeBase64(const void* data, unsigned int size, DataBuffer& out) const;

    // Skips whatever is not in the alphabet.  A "=" ends a group, not the text: parts that
    // were encoded one by one and joined are decoded whole.  Plain text behind the padding,
    // such as the footer of a mailing list, is left out.
    static bool decodeBase64ToDb(const char* text, unsigned int size, DataBuffer& out);

    // Lines of at most 76 characters (RFC 2045 6.7).  A CRLF of the input stays a line
    // break; a bare CR or LF is written =0D, =0A, a blank or tab before a line break or at
    // the end =20, =09, so that decoding gives the very same bytes.  "^" is escaped as well:
    // gateways damage it.
    bool encodeQuotedPrintable(const void* data, unsigned int size, StringBuffer& out) const;
    bool encodeQuotedPrintable(const void* data, unsigned int size, DataBuffer& out) const;

    // Drops soft line breaks and the blanks in front of line ends, takes hexadecimal digits
    // of either case, and lets a malformed escape stand.
    bool decodeQuotedPrintable(const char* text, unsigned int size, DataBuffer& out) const;

    // The text-body option.  It changes nothing in what is decoded: lines keep the breaks
    // that they have.
    void setTextBody(bool isText) { m_textBody = isText; }

    // Appends the bytes of the encoded words of `in` and the text between them as they are;
    // besides Q and B, words marked 8bit are accepted ("=?utf-8?8bit?text?=").
    bool QB_Decode(const StringBuffer& in, DataBuffer& out);

    // Replaces every RFC 2047 encoded word in `s` by its text in UTF-8 (EncodedWords.h).
    bool QB_DecodeToUtf8(StringBuffer& s, LogBase& log);

    // Decodes an RFC 2231 extended value, charset'language'percent-encoded text, to UTF-8.
    // `charset` overrides the charset of the value unless it is null; `outCharset` gets the
    // name of the charset that was used.
    bool decodeStarEncoded(const StringBuffer& value, const char* charset, StringBuffer& outText,
                           StringBuffer& outCharset, LogBase& log);

private:
    bool m_textBody = false;
};
