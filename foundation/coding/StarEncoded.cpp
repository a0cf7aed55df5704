// SPDX-License-Identifier: Apache-2.0
//
// RFC 2231 4: extended parameter values, charset'language'percent-encoded-text, to UTF-8.
// The readers of Content-Disposition and HeaderParams.cpp, which join the pieces of a value
// first, call it.

#include "foundation/bytes/ByteSet.h"
#include "foundation/ContentCoding.h"
#include "foundation/DataBuffer.h"
#include "foundation/EncodingConvert.h"
#include "foundation/LogBase.h"
#include "foundation/StringBuffer.h"
#include "foundation/_zqCharset.h"
#include "foundation/_zqUtf.h"
#include "foundation/bytes/bytes.h"
#include "foundation/bytes/ranges.h"
#include "foundation/charset/code_pages.h"

#include <cstring>

using namespace mimetree::inner;

namespace {

constexpr ByteSet kCharsetNameBytes = kTokenBytes.without("'");
constexpr ByteSet kLanguageBytes = ByteSet("-_").range('A', 'Z').range('a', 'z').range('0', '9');

// Where the text of a value begins, and the charset in front of it.  Tolerated: a value that
// is text alone; two apostrophes of which the first does not end a charset, or the second no
// language ("don't can't.txt"), belong to it.
const char* textBegin(const char* p, const char* end, unsigned& charsetSize) {
    charsetSize = 0;
    const char* first = skip(p, end, kCharsetNameBytes);
    if (first == end || *first != '\'') return p;
    const char* second = skip(first + 1, end, kLanguageBytes);
    if (second == end || *second != '\'') return p;
    charsetSize = static_cast<unsigned>(first - p);
    return second + 1;
}

bool isEscape(const char* p, const char* end) {
    return *p == '%' && end - p > 2 && bytes::hexValue(p[1]) >= 0 && bytes::hexValue(p[2]) >= 0;
}

unsigned decodedSize(const char* p, const char* end) {
    unsigned size = 0;
    for (; p != end; ++size) p += isEscape(p, end) ? 3 : 1;
    return size;
}

// A "%" without two hexadecimal digits stands.
bool decodePercent(const char* p, const char* end, DataBuffer& out) {
    if (p == end) return true;
    unsigned char* to = out.extend(decodedSize(p, end));
    if (!to) return false;
    while (p != end) {
        const bool escaped = isEscape(p, end);
        const int byte = escaped ? bytes::hexValue(p[1]) * 16 + bytes::hexValue(p[2]) : *p;
        *to++ = static_cast<unsigned char>(byte);
        p += escaped ? 3 : 1;
    }
    return true;
}

// Appends UTF-8, which costs no copy where that is all.
bool take(DataBuffer& utf8, StringBuffer& out) {
    return out.isEmpty() ? out.takeFromDb(utf8) : out.append(utf8);
}

}  // namespace

// Tolerated: no charset, or one that is not known.  The text is then UTF-8 when it is valid
// as such, and otherwise windows-1252, as the mailers wrote that forget it.
bool ContentCoding::decodeStarEncoded(const StringBuffer& value, const char* charset,
                                      StringBuffer& outText, StringBuffer& outCharset,
                                      LogBase& log) {
    const char* const begin = value.getString();
    const char* const end = begin + value.getSize();
    unsigned nameSize;
    const char* const text = textBegin(begin, end, nameSize);
    const char* name = charset ? charset : begin;
    if (charset) nameSize = static_cast<unsigned>(std::strlen(charset));

    DataBuffer raw, utf8;
    if (!decodePercent(text, end, raw)) return false;
    int codePage = _zqCharset::codePageOf(name, nameSize);
    const bool isKnown = EncodingConvert::isKnown(codePage);
    const bool isUtf8 = (!isKnown || codePage == codepage::kUtf8) &&
                        _zqUtf::isValidUtf8(raw.getData2(), raw.getSize(), 0);
    if (!isKnown) {
        name = isUtf8 ? "utf-8" : "windows-1252";
        nameSize = static_cast<unsigned>(std::strlen(name));
        codePage = isUtf8 ? codepage::kUtf8 : codepage::kWindows1252;
    }
    StringBuffer usedName;  // the outputs may be what is read
    if (!usedName.setStringN(name, nameSize) ||
        (!isUtf8 && !EncodingConvert::EncConvert(codePage, codepage::kUtf8, raw.getData2(),
                                                 raw.getSize(), utf8, log)))
        return false;
    DataBuffer& decoded = isUtf8 ? raw : utf8;
    const unsigned added = decoded.getSize();
    if (!take(decoded, outText)) return false;
    if (outCharset.append(usedName)) return true;
    outText.shorten(added);
    return false;
}
