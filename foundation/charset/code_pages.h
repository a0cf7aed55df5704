// SPDX-License-Identifier: Apache-2.0
#pragma once

// The code pages that the code names, in the Windows numbering; _zqCharset.cpp has them all.

namespace mimetree::inner::codepage {

constexpr int kNone = 0;
constexpr int kUtf16LE = 1200, kUtf16BE = 1201;
constexpr int kWindows1252 = 1252;
constexpr int kUtf32LE = 12000, kUtf32BE = 12001;
constexpr int kAscii = 20127, kLatin1 = 28591, kUtf7 = 65000, kUtf8 = 65001;

constexpr bool isUtf16Or32(int codePage) {
    return codePage == kUtf16LE || codePage == kUtf16BE || codePage == kUtf32LE ||
           codePage == kUtf32BE;
}

}  // namespace mimetree::inner::codepage
