// SPDX-License-Identifier: Apache-2.0
#pragma once

// Conversion of text between code pages, which are plain integers in the Windows numbering
// (65001 UTF-8, 1200 UTF-16LE, 20127 US-ASCII, 28591 ISO-8859-1 ...; _zqCharset.h has names).
// The mappings are those of the WHATWG Encoding Standard and of Python's codecs, compiled in.

#include "foundation/export.h"

class DataBuffer;
class LogBase;

class MIMETREE_API EncodingConvert {
public:
    // Appends `length` bytes of `data`, read in `fromCodePage`, to `out` in `toCodePage`.
    //
    // No byte is lost silently.  A byte that is not valid in its code page becomes U+FFFD,
    // except in UTF-8, where it is taken as the Latin-1 character of its value; a character
    // that the target lacks becomes "?", but for a byte order mark in front of the text, which
    // is dropped.  Code page 0 or one that is not known, on either side, copies the bytes
    // unchanged.
    //
    // A code page is read as the widest charset of its family (EUC-KR as UHC, GB2312 and GBK as
    // GB18030, Big5 with HKSCS, ISO-2022-JP with half-width kana, JIS X 0212, GB2312 and KS X
    // 1001), and every character that can be read so is written.
    //
    // False when memory is exhausted; `out` then holds what it held before.
    static bool EncConvert(int fromCodePage, int toCodePage, const unsigned char* data,
                           unsigned int length, DataBuffer& out, LogBase& log);

    // The same to UTF-8 in the buffer itself, which takes hardly more memory than the longer of
    // both texts: for the charsets of one byte a character in which every byte is one.  False,
    // with the text spoiled and the buffer marked, when memory is exhausted.
    static bool canBeInPlace(int codePage);
    static bool toUtf8InPlace(int codePage, DataBuffer& text);

    // True when `codePage` is known and can hold every character of the UTF-8 text as a reader
    // knows it who takes the name of the charset strictly.
    static bool canHold(int codePage, const char* utf8, unsigned int length);

    // True for a code page that EncConvert knows.
    static bool isKnown(int codePage);

    // True when ASCII text reads the same in the code page (0 and unknown ones included):
    // false for UTF-7, UTF-16, UTF-32, ISO-2022-JP, ISO-2022-KR and HZ.
    static bool keepsAscii(int codePage) {
        switch (codePage) {
            case 65000:
            case 1200:
            case 1201:
            case 12000:
            case 12001:
            case 50220:
            case 50221:
            case 50222:
            case 50225:
            case 52936: return false;
            default: return true;
        }
    }
};
