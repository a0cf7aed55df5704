// SPDX-License-Identifier: Apache-2.0

// Each charset both ways: what is read is valid UTF-8, and writing what was read loses nothing:
// read again, it is the same text.

#include "foundation/EncodingConvert.h"
#include "foundation/LogNull.h"
#include "foundation/_zqUtf.h"
#include "laws.h"

namespace {

constexpr int kPages[] = {65001, 65000, 1200,  1201,  12000, 12001, 20127, 28591, 28595, 28597,
                          28605, 1250,  1251,  1252,  1253,  1254,  1255,  1256,  1257,  1258,
                          874,   20866, 21866, 10000, 437,   850,   852,   855,   866,   932,
                          936,   949,   950,   51932, 51936, 51949, 52936, 54936, 50220, 50225};

std::string converted(int from, int to, const std::string& text) {
    LogNull log;
    DataBuffer out;
    EncodingConvert::EncConvert(from, to, reinterpret_cast<const unsigned char*>(text.data()),
                                static_cast<unsigned>(text.size()), out, log);
    return bytesOf(out);
}

bool isAscii(const std::string& text) {
    for (const char c : text)
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    return true;
}

}  // namespace

FUZZ_TARGET(charset_fuzz) {
    Choices choices(data, size);
    const int page = choices.pick(kPages);
    const std::string text = choices.rest(), utf8 = converted(page, 65001, text);
    require(_zqUtf::isValidUtf8(reinterpret_cast<const unsigned char*>(utf8.data()),
                                static_cast<unsigned>(utf8.size()), 0),
            "what is read is UTF-8");
    require(utf8.size() <= 4 * text.size() + 16, "what is read is not swollen");
    // 8-bit bytes under a charset of seven bits are read in its other form: what the seven bits
    // lack cannot be written, and a loaded body keeps its bytes instead.
    const bool isOtherForm = (page == 50220 || page == 50225) && !isAscii(text);
    // A mark of its own in front of UTF-16 or UTF-32, either way round, is the body's matter.
    const bool hasMark =
        page >= 1200 && page <= 12001 &&
        (utf8.compare(0, 3, "\xEF\xBB\xBF") == 0 || utf8.compare(0, 3, "\xEF\xBF\xBE") == 0);
    if (!isOtherForm && !hasMark && utf8.find("\xEF\xBF\xBD") == std::string::npos)
        require(converted(page, 65001, converted(65001, page, utf8)) == utf8,
                "what was read is written without loss");
}
